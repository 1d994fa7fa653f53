/// One block of data with its id and state, as the node cache keeps it.
#ifndef UTILITIES_CACHE_CACHENODE_H
#define UTILITIES_CACHE_CACHENODE_H

#include <cstdint>

#include "utilities/frame/export.h"

struct CacheNodeEntry;

/// A node owns its block and takes it along for life: a copy has a block of its own, and an
/// assignment copies bytes into the block that is there.
///
/// Different nodes can be changed by different threads at a time, those of one cache too; one node,
/// and a node while an operation of its cache runs, can not. Where there is no memory,
/// `std::bad_alloc` leaves the two constructors.
class UTILITIES_EXPORT CacheNode {
public:
    /// State 0, the id of no block, and `size` bytes of any content.
    CacheNode(unsigned int size = 0);

    /// Takes over size, bytes, state and id.
    CacheNode(const CacheNode& other);

    /// Takes over size, bytes, state and id. The block stays in its place and must have room for
    /// the bytes of `other`, as always within one cache.
    CacheNode& operator=(const CacheNode& other);

    ~CacheNode();

    /// The id that stands for no block: 0xFFFFFFFF.
    static unsigned int getDefaultNodeID();

    /// In the write cache 0 is clean, free to be used for another block, and 1 is changed, to be
    /// written back. In the read cache 0 is free and 1 holds a copy. Other values are neither.
    void setNodeState(int state);

    /// A node in a cache can be found under the new id from then on, and not under the old one.
    void setNodeID(const unsigned int& id);

    int getNodeState() const { return nodeState; }
    unsigned int getNodeID() const { return nodeID; }

    /// The block, for reading and writing. Never null, also where it has no bytes.
    unsigned char* getNodeData() const { return nodeData; }

    /// The size of the block in bytes.
    unsigned int getNodeDataSize() const { return nodeDataSize; }

private:
    friend class CacheManager;
    friend class CacheNodeIndex;

    UTILITIES_LOCAL void Forget(std::uint32_t size);
    UTILITIES_LOCAL void Store(std::int32_t state, std::uint32_t id);

    std::int32_t nodeState;
    std::uint32_t nodeID;
    unsigned char* nodeData;
    std::uint32_t nodeDataSize;
    CacheNodeEntry* entry;  ///< Where the node's cache has it listed, null outside of caches.
};

#endif
