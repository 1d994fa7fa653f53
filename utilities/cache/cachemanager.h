/// A two-tier cache of equally sized data blocks, for a derived class to fill and to store.
#ifndef UTILITIES_CACHE_CACHEMANAGER_H
#define UTILITIES_CACHE_CACHEMANAGER_H

#include <cstdint>
#include <list>
#include <memory>

#include "utilities/cache/cachenode.h"
#include "utilities/frame/export.h"
#include "utilities/locks/lockobj.h"

class CacheNodeIndex;

/// A cache of data blocks, each in a `CacheNode` and known by a 32-bit id.
///
/// The cache has two tiers. The write cache (WC) holds blocks that may have been changed and not
/// yet stored; the read cache (RC), half as large, holds copies for reading. The cache doesn't know
/// where blocks come from: a derived class owns the store, fills the nodes that the add operations
/// return, sets their state to 1 when they are changed (WC) or filled (RC), and stores changed
/// nodes in `writeBackNode`.
///
/// The constructor makes all nodes, and only `resizeCache` changes their number. An add operation
/// reuses a node in state 0. Both lists are ordered by use: the least recently used node is at the
/// front, the most recently used at the back.
///
/// A pointer to a node stays valid until the next operation that can move, reuse or remove the
/// node.
///
/// An add operation doesn't look whether the id is in the cache: search first, or a list holds the
/// id twice. The id 0xFFFFFFFF stands for no block. The cache keeps the range of the ids that were
/// added to the write cache since the last flush, and looks there for ids in that range only. After
/// a flush the nodes of the write cache keep ids and data, so once later adds have widened the
/// range a search can return such an old clean node, with its old data even if the store has
/// changed since.
///
/// Threads that share a cache must take turns by a lock of their own; `mruLock` orders moves in the
/// write cache only. When memory runs out, the constructor and `resizeCache` throw `std::bad_alloc`
/// and `resizeCache` changes nothing but what its flush did; no other operation needs memory,
/// except for the first one after a derived class has put nodes into a list.
class UTILITIES_EXPORT CacheManager {
public:
    /// Makes `determineNodesAmount(requestedNodes)` nodes for the write cache and half as many for
    /// the read cache. Each has a block of `nodeDataSize` bytes, which are not initialised.
    CacheManager(unsigned int requestedNodes, unsigned int nodeDataSize);

    CacheManager(const CacheManager&) = delete;
    CacheManager& operator=(const CacheManager&) = delete;

    /// Frees all nodes without writing any back: a derived class flushes in its own destructor.
    virtual ~CacheManager();

    /// Stores a changed node: `nodeDataSize` bytes of its data, under its id. Its state is still 1;
    /// the flush that calls this sets it to 0 afterwards. Must not call any operation that moves
    /// nodes of the write cache. The library holds no lock meanwhile, so this may take long.
    virtual void writeBackNode(CacheNode* node) = 0;

    /// Gives `id` the least recently used node of the write cache that is in state 0, and makes it
    /// the most recently used one; its state and data stay as they are. If no node is in state 0,
    /// flushes first and takes the least recently used node. If the most recently used node has
    /// this id already, the chosen node stays in its place. Never null.
    CacheNode* addNodeID_ToWC(const unsigned int& id);

    /// Does the same in the read cache. If no node is in state 0, takes the least recently used one
    /// without a flush; its state stays as it is. Never null.
    CacheNode* addNodeID_ToRC(const unsigned int& id);

    /// Finds the most recently used node of the write cache with this id, and makes it the most
    /// recently used of all. Null if there is none or the id is outside the range of ids.
    CacheNode* searchNodeID_InWC(const unsigned int& id);

    /// Finds a block for reading. If the write cache has it, returns the node there, which stays in
    /// its place, and copies its data to the read cache. Otherwise returns the node of the read
    /// cache, which becomes the most recently used one. Null if neither has the id.
    CacheNode* searchNodeID_InRC(const unsigned int& id);

    /// Writes back the nodes of the write cache in state 1, the least recently used first, and sets
    /// them to state 0; they keep ids and data. Then empties the read cache and the range of ids.
    /// `reason` has no effect; the cache itself passes 1 when it needs a clean node and 2 when it
    /// shrinks.
    void flushCache(unsigned char reason);

    /// Empties both tiers without writing back: changed data is lost.
    void clearCache();

    /// Changes the number of nodes to `determineNodesAmount(count / 10)`. New nodes are put at the
    /// back. To shrink, flushes and then removes the most recently used nodes.
    void resizeCache(unsigned int count);

    /// The number of nodes in the write cache. The read cache has half as many, rounded down.
    unsigned int getAllocatedNodes() const;

protected:
    /// The number of nodes for a request. `minNodes` is returned if that is requested, a request
    /// below 3 counting as 3. Otherwise it is 20 more than requested, or 20 more than `minNodes` if
    /// `useRequestedAmount` is false, and at most 5000. Computed in 32 bits, so the 20 largest
    /// requests wrap to a number below 20; a cache without nodes for that reason makes one for the
    /// first block.
    unsigned int determineNodesAmount(unsigned int requested) const;

    // A derived class may read all fields and change nodes by their own operations. Adding,
    // removing and reordering the elements of the lists is left to this class.
    std::uint32_t allocatedNodes;  ///< Nodes in the write cache.
    std::uint32_t minNodes;        ///< 3.
    std::uint32_t nodeDataSize;    ///< Bytes of each block.
    std::uint32_t freeNodes;       ///< Clean nodes of the write cache. This class only raises it:
                                   ///< lower it when you set a node to state 1.
    std::uint32_t maxNodeID;       ///< Upper end of the range of ids; 0 if it is empty.
    std::uint32_t minNodeID;       ///< Lower end of the range of ids; 0xFFFFFFFF if it is empty.
    bool useRequestedAmount;       ///< True; read by `determineNodesAmount`.
    std::list<CacheNode> writeCache;
    std::list<CacheNode> readCache;
    MutexLock mruLock;  ///< Held while a node of the write cache moves; listed as "CM_MRU_CTL".

private:
    UTILITIES_LOCAL bool IsInRange(unsigned int id) const;
    UTILITIES_LOCAL void moveToMRU_InWC(std::list<CacheNode>::iterator& node);
    UTILITIES_LOCAL void moveToMRU_InRC(std::list<CacheNode>::iterator& node);
    UTILITIES_LOCAL void copyNodeID_ToRC(std::list<CacheNode>::iterator& node);
    UTILITIES_LOCAL void EmptyRange();
    UTILITIES_LOCAL void ForgetNodes(std::list<CacheNode>& nodes);
    UTILITIES_LOCAL std::list<CacheNode> MissingNodes(const std::list<CacheNode>& nodes,
                                                      std::size_t amount) const;
    UTILITIES_LOCAL void ResizeTiers(unsigned int amount);

    std::unique_ptr<CacheNodeIndex> m_WriteIndex;
    std::unique_ptr<CacheNodeIndex> m_ReadIndex;
};

#endif
