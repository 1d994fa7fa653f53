/// Tables of files.
#ifndef CATALOG_LISTING_H
#define CATALOG_LISTING_H

#include <functional>
#include <string>

#include "commandline.h"
#include "dates.h"
#include "entry.h"
#include "owners.h"
#include "table.h"

/// Prints files in a table of path, size, time of modification and digest, the SHA-256 one with
/// `--sha256`. With `--long` rights, owner and group come first, and links show their targets.
class Listing {
public:
    explicit Listing(const CommandLine& line);

    /// Calls its argument for each entry to print, with the path to show.
    using Source =
        std::function<void(const std::function<void(const std::string&, const Entry&)>&)>;

    /// Prints what `source` has, which is asked twice, and the totals of files and bytes.
    void Print(const Source& source);

private:
    Row RowOf(const std::string& path, const Entry& entry);

    const TimeFormat m_Times;
    const bool m_IsLong;
    const bool m_HasSha256;
    OwnerNames m_Users{UserNamed};
    OwnerNames m_Groups{GroupNamed};
};

#endif
