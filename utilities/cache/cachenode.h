/// One data block of the node cache, with its id and state.
#ifndef UTILITIES_CACHE_CACHENODE_H
#define UTILITIES_CACHE_CACHENODE_H

#include <cstdint>

#include "utilities/frame/export.h"

struct CacheNodeEntry;

/// A node owns one block from its construction to its destruction: a copy has a block of its own,
/// and an assignment copies bytes into the existing block.
///
/// Several threads may change different nodes at the same time, also nodes of one cache. Only one
/// thread may change a node, and none while an operation of the node's cache runs. When memory runs
/// out, the two constructors throw `std::bad_alloc`.
class UTILITIES_EXPORT CacheNode {
public:
    /// Makes a node in state 0, with the id of no block and a block of `size` bytes, which are not
    /// initialised.
    CacheNode(unsigned int size = 0);

    /// Copies size, bytes, state and id.
    CacheNode(const CacheNode& other);

    /// Copies size, bytes, state and id. The block is not allocated anew: it must be at least as
    /// large as that of `other`, as it always is within one cache.
    CacheNode& operator=(const CacheNode& other);

    ~CacheNode();

    /// The id of a node without a block: 0xFFFFFFFF.
    static unsigned int getDefaultNodeID();

    /// In the write cache state 0 is clean, so that the node may be reused for another block, and 1
    /// is changed, so that the node must be written back. In the read cache 0 is a free node and 1
    /// a node that holds a copy. A node in any other state is neither reused nor written back.
    void setNodeState(int state);

    /// Searches of the node's cache find the node by its new id from then on.
    void setNodeID(const unsigned int& id);

    int getNodeState() const { return nodeState; }
    unsigned int getNodeID() const { return nodeID; }

    /// The block, for reading and writing. Never null, even if the size is 0.
    unsigned char* getNodeData() const { return nodeData; }

    /// The size of the block in bytes.
    unsigned int getNodeDataSize() const { return nodeDataSize; }

private:
    friend class CacheManager;
    friend class CacheNodeIndex;

    UTILITIES_LOCAL void Reallocate(std::uint32_t size);
    UTILITIES_LOCAL void Forget(std::uint32_t size);
    UTILITIES_LOCAL void Store(std::int32_t state, std::uint32_t id);

    std::int32_t nodeState;
    std::uint32_t nodeID;
    unsigned char* nodeData;
    std::uint32_t nodeDataSize;
    CacheNodeEntry* m_Entry;  ///< The node in its cache's index; null outside of caches.
};

#endif
