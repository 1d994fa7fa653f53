/// A directory that a command works on.
#ifndef CATALOG_DIRECTORY_H
#define CATALOG_DIRECTORY_H

#include <set>
#include <string>
#include <utility>

#include "commandline.h"
#include "files.h"
#include "walk.h"

/// A directory and the regular files below it whose own name matches a pattern, except the
/// program's own files, which change while it runs: its store and its status logs.
struct Directory {
    /// `path` may be a symbolic link. One that can't be opened is thrown as `std::system_error`.
    Directory(const String& path, const String& pattern, const String& store = String());

    /// The absolute path of `below`, a path relative to the directory.
    std::string Absolute(const std::string& below) const;

    /// Whether the file `absolute` is known to be missing: it would be below the directory, wasn't
    /// found, and no directory above it was unreadable.
    bool Lacks(const std::string& absolute) const;

    Descriptor root;
    std::string base;  ///< The directory's absolute path.
    Tree tree;
};

/// Whether `path` names `directory` or something below it.
bool IsWithin(const std::string& path, const std::string& directory);

/// The option --threads, by default the number of cores.
int NumberOfThreads(const CommandLine& line);

/// The option --store; `UsageError` if it is missing.
const String& StoreOf(const CommandLine& line);

#endif
