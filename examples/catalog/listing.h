/// Tables of files.
#ifndef CATALOG_LISTING_H
#define CATALOG_LISTING_H

#include <string>

#include "commandline.h"
#include "dates.h"
#include "entry.h"
#include "owners.h"
#include "table.h"

/// A table of path, size, time of modification and digest, the SHA-256 one with
/// `--sha256`. With `--long` rights, owner and group come first, and links show their targets.
class Listing {
public:
    explicit Listing(const CommandLine& line);

    /// Adds an entry, shown as `path`.
    void Add(const std::string& path, const Entry& entry);

    /// Prints the table, and the totals of files and bytes.
    void Print() const;

private:
    const TimeFormat m_Times;
    const bool m_IsLong;
    const bool m_HasSha256;
    Table m_Table;
    unsigned __int64 m_Files = 0, m_Bytes = 0;
    OwnerNames m_Users{UserNamed};
    OwnerNames m_Groups{GroupNamed};
};

#endif
