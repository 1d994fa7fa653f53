/// What spares the node cache the walks through its lists.
#ifndef UTILITIES_CACHE_NODEINDEX_INTERNAL_H
#define UTILITIES_CACHE_NODEINDEX_INTERNAL_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <vector>

#include "utilities/cache/cachenode.h"

class CacheNodeIndex;

/// A node in the index: linked into the chain of its bucket unless its id is that of no block.
struct CacheNodeEntry {
    CacheNodeIndex* index = nullptr;  ///< Null where the node is gone.
    std::list<CacheNode>::iterator node;
    std::uint32_t id = 0;             ///< Under which it is linked.
    CacheNodeEntry** link = nullptr;  ///< What points to it in its chain, null outside of chains.
    CacheNodeEntry* next = nullptr;
    CacheNodeEntry* nextWithNewID = nullptr;
    bool hasNewID = false;
};

/// A table from ids to the nodes of one list. Each find gives exactly what a walk through the list
/// would: the table answers where none or one node bears an id, and where several do the list is
/// walked, so that the index knows nothing of the order and nobody has to tell it of a move.
///
/// Nodes tell of their own changes. Those who change different nodes at a time meet in two atomics
/// only, and the table follows with the next find. Nodes that were added to the list or taken out
/// of it show in the length of the list.
///
/// The list must outlive the index.
class CacheNodeIndex {
public:
    using Iterator = std::list<CacheNode>::iterator;

    explicit CacheNodeIndex(std::list<CacheNode>& list);
    ~CacheNodeIndex();
    CacheNodeIndex(const CacheNodeIndex&) = delete;
    CacheNodeIndex& operator=(const CacheNodeIndex&) = delete;

    /// The node with this id that is nearest to the end; the end of the list where there is none.
    Iterator FindFromBack(std::uint32_t id);
    Iterator FindFromFront(std::uint32_t id);

    /// The first node in state 0, or the end of the list.
    Iterator FindClean();

    /// Brings the index in line with the list: finds do so themselves, but allocate for it where
    /// nodes were added.
    void Update();

    void NoteCleanNode() { mayHaveClean.store(true, std::memory_order_relaxed); }
    void NoteNewID(CacheNodeEntry& entry);
    void Remove(CacheNodeEntry& entry);

private:
    enum class Bearers { NONE, ONE, SEVERAL };

    Bearers Look(std::uint32_t id, Iterator& found);
    CacheNodeEntry*& BucketOf(std::uint32_t id);
    void Rebuild();
    void Release();
    void LinkThoseWithNewIDs();
    void Link(CacheNodeEntry& entry);
    static void Unlink(CacheNodeEntry& entry);

    std::list<CacheNode>& nodes;
    std::vector<CacheNodeEntry> entries;
    std::vector<CacheNodeEntry*> buckets;
    int shift = 0;          ///< Leaves as many bits of a hash as number the buckets.
    std::size_t count = 0;  ///< Of the entries whose nodes live.
    std::atomic<CacheNodeEntry*> withNewIDs{nullptr};
    std::atomic<bool> mayHaveClean{true};  ///< False once a walk has found none.
};

#endif
