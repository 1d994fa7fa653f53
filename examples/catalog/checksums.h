/// Lines as `md5sum` and `sha256sum` write and read them.
#ifndef CATALOG_CHECKSUMS_H
#define CATALOG_CHECKSUMS_H

#include <optional>
#include <string>

#include "digest.h"

/// A digest of a named file.
struct Checksum {
    std::string name;
    bool isSha256 = false;
    Digests digests{};  ///< Just the one of the two is set.
};

/// How lines are written.
struct ChecksumForm {
    bool isSha256 = false;
    bool isTagged = false;     ///< "MD5 (name) = digest" instead of "digest  name".
    bool endsWithNul = false;  ///< Then names stand as they are. Otherwise a line with an escaped
                               ///< name begins with a backslash.
};

/// The line of a file, with its end.
std::string ChecksumLine(const std::string& name, const Digests& digests, const ChecksumForm& form);

/// Reads a line without its end, in either of the forms; nothing if it has none of them.
std::optional<Checksum> ReadChecksumLine(const std::string& line, bool endsWithNul);

#endif
