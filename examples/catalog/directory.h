/// A directory that a command works on.
#ifndef CATALOG_DIRECTORY_H
#define CATALOG_DIRECTORY_H

#include <set>
#include <string>
#include <utility>

#include "commandline.h"
#include "files.h"
#include "walk.h"

/// The directory with the regular files below it whose own name matches a pattern; without the
/// program's own files, which change while it runs: its store and its status logs.
struct Directory {
    /// `path` may be a symbolic link. Throws where it can't be opened.
    Directory(const String& path, const String& pattern, const String& store = String());

    /// The absolute path of what is at `below`.
    std::string Absolute(const std::string& below) const;

    /// Whether `absolute` names a file that is known not to be there: it would be below the
    /// directory, and could have been seen.
    bool Lacks(const std::string& absolute) const;

    Descriptor root;
    std::string base;  ///< The directory's absolute path.
    Tree tree;
};

/// Whether `path` is that of `directory` or of something below it.
bool IsWithin(const std::string& path, const std::string& directory);

/// The option --threads, by default the number of cores.
int NumberOfThreads(const CommandLine& line);

/// The option --store, which must be there.
const String& StoreOf(const CommandLine& line);

#endif
