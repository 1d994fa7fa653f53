/// The records of a store.
///
/// All have one size and begin with a checksum. Numbers are written most significant byte first. An
/// entry takes one record, and one more in front of it for each part of a long path that finds no
/// room there: those are written first, so that an entry is whole once its own record is there.
#ifndef CATALOG_RECORD_H
#define CATALOG_RECORD_H

#include <string>
#include <vector>

#include "files.h"
#include "utilities/utilities.h"

inline constexpr unsigned int RECORD_SIZE = 512;

/// What the catalogue knows of a file, or of a directory that was scanned.
struct Entry {
    enum Kind { FILE = 1, DIRECTORY = 2 };

    Kind kind = FILE;
    bool isGone = false;  ///< Was not there any more at the last scan.
    std::string path;     ///< Absolute.
    Look look;
    unsigned __int64 scan = 0;  ///< The scan that wrote this.
    __int64 scanned = 0;        ///< When that was, in milliseconds since the epoch.
    String digest;              ///< 32 digits; empty for a directory.
};

/// The records of `entry`, its own as the last.
std::vector<std::string> RecordsOf(const Entry& entry);

/// Whether the RECORD_SIZE bytes at `record` are what was once written.
bool IsIntact(const char* record);

/// The number of records in front of this one that belong to its entry. A record that only holds a
/// part of a path has the number -1, and one that makes no sense -2.
int PartsBefore(const char* record);

/// The entry in `records`, as many as it takes; intact, and its own the last. False where they
/// don't belong together.
bool ReadEntry(const std::vector<std::string>& records, Entry& entry);

#endif
