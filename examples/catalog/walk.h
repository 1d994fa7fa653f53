/// Finding the files of a tree.
#ifndef CATALOG_WALK_H
#define CATALOG_WALK_H

#include <string>
#include <vector>

#include "files.h"

/// A path that can't be read, and why.
struct Failure {
    std::string path;
    String reason;
};

/// The files of a tree. Paths are relative to the tree's directory.
struct Tree {
    std::vector<std::string> files;  ///< Sorted by their bytes.
    std::vector<Failure> failures;   ///< Sorted likewise.
};

/// The regular files below `root` whose own name matches `pattern`. Throws `Interrupted`
/// after an interrupt.
Tree FindFiles(const Descriptor& root, const String& pattern);

#endif
