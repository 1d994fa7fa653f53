/// The records of a store.
///
/// All have one size and begin with a checksum. Numbers are written most significant byte first. An
/// entry has one record of its own. What doesn't fit there of a long path stands in part records
/// directly before it, which are written first: an entry is complete once its own record is there.
#ifndef CATALOG_RECORD_H
#define CATALOG_RECORD_H

#include <string>
#include <vector>

#include "files.h"
#include "utilities/utilities.h"

inline constexpr unsigned int RECORD_SIZE = 512;

/// A file, or a directory that was scanned.
struct Entry {
    enum Kind { FILE = 1, DIRECTORY = 2 };

    Kind kind = FILE;
    bool isMissing = false;  ///< Was not found any more by the last scan.
    std::string path;        ///< Absolute.
    FileStatus status;
    unsigned __int64 scan = 0;  ///< Identifies the scan that wrote this.
    __int64 scanned = 0;        ///< When that scan began, in milliseconds since the epoch.
    String digest;              ///< 32 digits; empty for a directory.
};

/// The records of `entry`: part records, then its own.
std::vector<std::string> RecordsOf(const Entry& entry);

/// Whether the RECORD_SIZE bytes at `record` match their checksum.
bool IsIntact(const char* record);

/// The number of part records before this one that belong to its entry; -1 if this is a part
/// record, -2 for an unknown kind of record.
int PartsBefore(const char* record);

/// Reads an entry from all its records, its own being the last; all must be intact. False if they
/// don't belong together.
bool ReadEntry(const std::vector<std::string>& records, Entry& entry);

#endif
