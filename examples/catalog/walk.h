/// Finds the files of a tree.
#ifndef CATALOG_WALK_H
#define CATALOG_WALK_H

#include <string>
#include <vector>

#include "files.h"

struct Failure {
    std::string path;
    String reason;
};

/// Paths are relative to the tree's directory.
struct Tree {
    std::vector<std::string> files;  ///< Sorted by their bytes.
    std::vector<Failure> failures;   ///< What could not be looked into.
};

/// The regular files below `root` whose own name matches `pattern`. Stops at an interrupt.
Tree FindFiles(const Descriptor& root, const String& pattern);

#endif
