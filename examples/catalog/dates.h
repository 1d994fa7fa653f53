/// How times are shown, and the days that the user asks for.
#ifndef CATALOG_DATES_H
#define CATALOG_DATES_H

#include <string>
#include <vector>

#include "commandline.h"
#include "files.h"

/// The days from `--since DATE` to `--until DATE`, each written as 2021-12-31. Any other text, and
/// a date that doesn't exist, is thrown as `UsageError`.
BqDateRange RangeOf(const CommandLine& line);

/// Removes from `files` those that were last modified outside the range, whose days are the user's
/// zone's and which includes the first and the last day. A file whose status can't be had stays:
/// reading it will tell why.
void KeepModifiedWithin(const BqDateRange& range, const Descriptor& root,
                        std::vector<std::string>& files);

/// A time, in seconds since 1970, in the user's zone and locale.
String ShownTime(__int64 seconds);

/// The time of a file's last modification, likewise.
String ShownModification(const FileStatus& status);

#endif
