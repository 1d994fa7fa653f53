/// A directory that a command works on, and the paths that the user names.
#ifndef CATALOG_DIRECTORY_H
#define CATALOG_DIRECTORY_H

#include <string>
#include <vector>

#include "commandline.h"
#include "entry.h"
#include "files.h"
#include "walk.h"

/// A directory, and what was found of a selection in it.
struct Directory {
    /// `path` may be a symbolic link. One that can't be opened is thrown as `std::system_error`.
    Directory(const std::string& path, Selection wanted);

    /// Whether there may be something called `below` although it wasn't found: it isn't selected,
    /// or lies in a directory that can't be read.
    bool MayHave(const std::string& below) const;

    Descriptor root;
    std::string base;  ///< The directory's absolute path.
    Selection selection;
    Walked walked;
};

/// The absolute path of a directory, without links. Throws `std::system_error`.
std::string AbsolutePathOf(const std::string& directory);

/// The absolute path of anything, without links above it; it needn't exist.
std::string PlaceOf(const std::string& path);

/// The program's own files, relative to `base`, within which they are: the store and the status
/// logs, which change while it runs.
std::vector<std::string> OwnFilesIn(const std::string& base, const CommandLine& line);

/// The names on the standard input, one a line, or with `--null` each ended by a zero byte. Empty
/// ones are left out.
std::vector<std::string> NamesFromInput(const CommandLine& line);

/// The option --threads, by default the number of cores.
int NumberOfThreads(const CommandLine& line);

#endif
