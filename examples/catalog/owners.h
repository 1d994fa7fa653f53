/// Names of owners and groups.
#ifndef CATALOG_OWNERS_H
#define CATALOG_OWNERS_H

#include "utilities/utilities.h"

/// Looks names up by their numbers, and remembers them: each look-up can read a file, or ask
/// another machine. Keeps those that were used last.
class OwnerNames : private CacheManager {
public:
    /// Finds a name in the system; empty if there is none.
    using LookUp = String (*)(unsigned int number);

    explicit OwnerNames(LookUp lookUp);

    /// The number itself if it has no name.
    String Of(unsigned int number);

private:
    void writeBackNode(CacheNode*) override {}  // Nothing is changed here.

    const LookUp m_LookUp;
};

/// In the system's list of users, and of groups.
String UserNamed(unsigned int number);
String GroupNamed(unsigned int number);

#endif
