/// Times: how they are shown, and which are wanted.
#ifndef CATALOG_DATES_H
#define CATALOG_DATES_H

#include <string>
#include <vector>

#include "commandline.h"
#include "files.h"

/// The days from `--since DATE` to `--until DATE`, each written as 2021-12-31. A date that doesn't
/// exist is thrown as `UsageError`.
BqDateRange RangeOf(const CommandLine& line);

/// Leaves the files that were modified within the range, in the user's zone, the first and last
/// days included. What can't be looked at stays: reading it tells why.
void KeepModifiedWithin(const BqDateRange& range, const Descriptor& root,
                        std::vector<std::string>& files);

/// The time in the user's zone and locale; seconds since 1970.
String ShownTime(__int64 seconds);

/// The same of a file's modification.
String ShownModification(const Look& look);

#endif
