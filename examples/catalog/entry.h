/// What the catalogue knows of a file.
#ifndef CATALOG_ENTRY_H
#define CATALOG_ENTRY_H

#include <cstdint>
#include <string>
#include <vector>

#include "digest.h"
#include "utilities/utilities.h"

enum Kind : unsigned char {
    FILE_KIND = 1,
    DIRECTORY_KIND,
    LINK_KIND,
    PIPE_KIND,
    SOCKET_KIND,
    CHARACTER_DEVICE_KIND,
    BLOCK_DEVICE_KIND
};

/// "file", "directory", "link" and so on.
const char* NameOf(Kind kind);

/// What the system tells of a file, without reading it.
struct FileStatus {
    Kind kind = FILE_KIND;
    std::uint16_t mode = 0;  ///< The rights, with the bits for set-user-id and its like.
    std::uint32_t owner = 0;
    std::uint32_t group = 0;
    unsigned __int64 size = 0;      ///< 0 for all but files.
    __int64 modified = 0;           ///< Seconds since 1970.
    std::uint32_t nanoseconds = 0;  ///< Of the modification, after `modified`.
    unsigned __int64 device = 0;    ///< The device that a special file stands for; otherwise 0.
};

/// Whether a file that had one status and has the other now can be taken for unwritten.
bool IsUnwritten(const FileStatus& before, const FileStatus& now);

/// Anything below a catalogued directory, or itself.
struct Entry {
    std::string path;  ///< Relative to the catalogued directory, which itself has the empty path.
    FileStatus status;
    Digests digests;     ///< Of a file.
    std::string target;  ///< Of a link.
};

/// What differs between an entry and what there is now, as in "content, mode 0644 -> 0600"; empty
/// if nothing does. A time alone is no difference. If `contentOnly`, neither are rights and owners.
String Differences(const Entry& before, const Entry& now, bool contentOnly);

/// A directory that was scanned, with its entries.
struct Tree {
    std::string path;                   ///< Absolute.
    unsigned __int64 scan = 0;          ///< Identifies the last scan.
    __int64 scanned = 0;                ///< When it began, in milliseconds since 1970.
    bool isListed = false;              ///< Has only what was listed; what else is there isn't new.
    bool hasSha256 = false;             ///< Its files have SHA-256 digests beside the others.
    std::vector<std::string> excluded;  ///< Patterns for what it leaves out.
    std::vector<Entry> entries;         ///< Sorted by the bytes of their paths.
};

/// Sorted by the bytes of their paths.
using Catalogue = std::vector<Tree>;

/// The tree of just this path; null if there is none.
const Tree* FindTree(const Catalogue& catalogue, const std::string& path);

/// The absolute path of `below`, a path relative to `base`.
std::string Joined(const std::string& base, const std::string& below);

/// Whether `path` names `directory` or something below it. Both are absolute, or both relative: the
/// empty path then names the directory that all are relative to.
bool IsWithin(const std::string& path, const std::string& directory);

/// `path` relative to `directory`, within which it is.
std::string Below(const std::string& path, const std::string& directory);

#endif
