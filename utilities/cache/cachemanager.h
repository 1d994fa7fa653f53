/// A cache of equally sized blocks of data in two tiers, for a derived class to fill and to store.
#ifndef UTILITIES_CACHE_CACHEMANAGER_H
#define UTILITIES_CACHE_CACHEMANAGER_H

#include <cstdint>
#include <list>
#include <memory>

#include "utilities/cache/cachenode.h"
#include "utilities/frame/export.h"
#include "utilities/locks/lockobj.h"

class CacheNodeIndex;

/// The write cache holds blocks that may have changed and are still to be stored; the read cache,
/// half as large, holds copies for reading. The cache doesn't know where blocks come from: a
/// derived class fills the nodes that the add operations hand out, sets their state to 1 where they
/// are changed (write cache) or filled (read cache), and stores a changed one when it is told to.
///
/// All nodes are there from the start, and only `resizeCache` changes their number; adding a block
/// takes one that is clean or free and has not been used for longest. Both lists run from the least
/// to the most recently used node.
///
/// A node that is returned may be used until the next operation that can move, reuse or drop it.
///
/// One block can stand in a list twice, as an add doesn't look whether it is there already: look
/// first. The id 0xFFFFFFFF is that of no block. Beside the two lists the cache keeps the range of
/// the ids that were added since the last flush, and the write cache is not searched for others.
///
/// Threads that share a cache take turns by a lock of their own; `mruLock` orders moves in the
/// write cache only. Where there is no memory, `std::bad_alloc` leaves the constructor and
/// `resizeCache`; all others work without, but for the first one after a derived class has put
/// nodes into a list.
class UTILITIES_EXPORT CacheManager {
public:
    /// As many nodes as `determineNodesAmount(requestedNodes)` says, with blocks of `nodeDataSize`
    /// bytes of any content.
    CacheManager(unsigned int requestedNodes, unsigned int nodeDataSize);

    CacheManager(const CacheManager&) = delete;
    CacheManager& operator=(const CacheManager&) = delete;

    /// Writes nothing back: changed nodes are lost unless the derived class flushes first.
    virtual ~CacheManager();

    /// Stores what is changed: `nodeDataSize` bytes of the node's data, under its id. The node's
    /// state is set to 0 afterwards. Must not call anything that moves nodes of the write cache.
    /// No lock of the library is held, so it may take its time.
    virtual void writeBackNode(CacheNode* node) = 0;

    /// Gives a clean node to `id` and makes it the most recently used one, with state and data as
    /// they were. Where no node has state 0, all changed ones are written back first and the least
    /// recently used one is taken. Where the most recently used node bears `id` already, the chosen
    /// one stays in its place. Never null.
    CacheNode* addNodeID_ToWC(const unsigned int& id);

    /// The same in the read cache: where no node has state 0, the least recently used copy gives
    /// way and its node keeps its state.
    CacheNode* addNodeID_ToRC(const unsigned int& id);

    /// The most recently used node of the write cache with this id, which moves to the back unless
    /// the node there bears the id as well. Null where there is none or `id` is out of the range.
    CacheNode* searchNodeID_InWC(const unsigned int& id);

    /// Finds a block for reading. A node of the write cache stays in its place, and its data is
    /// copied to the read cache; else it is a node of the read cache, moved as above. Null where
    /// neither has the id.
    CacheNode* searchNodeID_InRC(const unsigned int& id);

    /// Writes back the nodes of the write cache in state 1, from the least recently used one on.
    /// They can be used again and keep id and data; the read cache and the range of ids become
    /// empty. `reason` has no effect: the cache itself gives 1 for want of a clean node and 2 when
    /// it shrinks.
    void flushCache(unsigned char reason);

    /// Forgets all blocks, changed ones too, and writes nothing back.
    void clearCache();

    /// Changes the number of nodes to `determineNodesAmount(count / 10)`. New ones stand at the
    /// back. For fewer, the cache is flushed, and the most recently used nodes are dropped.
    void resizeCache(unsigned int count);

    /// The number of nodes in the write cache. The read cache has half as many, rounded down.
    unsigned int getAllocatedNodes() const;

protected:
    /// The number of nodes for a request: `minNodes` where that is asked for, at least 3; else 20
    /// more than requested, or than `minNodes` without `useRequestedAmount`; at most 5000. Computed
    /// in 32 bits: 20 more than one of the 20 largest numbers is below 20. A cache that has come to
    /// no nodes in that way makes one when a block is added.
    unsigned int determineNodesAmount(unsigned int requested) const;

    // A derived class may read all this and change nodes by their own operations. The elements of
    // the lists are left to this class.
    std::uint32_t allocatedNodes;  ///< Nodes in the write cache.
    std::uint32_t minNodes;        ///< 3.
    std::uint32_t nodeDataSize;    ///< Bytes of each block.
    std::uint32_t freeNodes;       ///< Clean nodes of the write cache: whoever sets a node to 1
                                   ///< lowers it, this class only raises it.
    std::uint32_t maxNodeID;       ///< The range of ids: 0 and
    std::uint32_t minNodeID;       ///< 0xFFFFFFFF where it is empty.
    bool useRequestedAmount;       ///< True; read by `determineNodesAmount`.
    std::list<CacheNode> writeCache;
    std::list<CacheNode> readCache;
    MutexLock mruLock;  ///< Held while a node of the write cache moves; "CM_MRU_CTL" in the list.

private:
    UTILITIES_LOCAL bool isInRange(unsigned int id) const;
    UTILITIES_LOCAL void moveToMRU_InWC(std::list<CacheNode>::iterator& node);
    UTILITIES_LOCAL void moveToMRU_InRC(std::list<CacheNode>::iterator& node);
    UTILITIES_LOCAL void copyNodeID_ToRC(std::list<CacheNode>::iterator& node);
    UTILITIES_LOCAL void emptyRange();
    UTILITIES_LOCAL void forgetNodes(std::list<CacheNode>& nodes);
    UTILITIES_LOCAL void resizeLists(std::size_t amount);

    std::unique_ptr<CacheNodeIndex> writeIndex;
    std::unique_ptr<CacheNodeIndex> readIndex;
};

#endif
