/// Finds the nodes of the cache without a walk through its lists.
#ifndef UTILITIES_CACHE_NODEINDEX_INTERNAL_H
#define UTILITIES_CACHE_NODEINDEX_INTERNAL_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <vector>

#include "utilities/cache/cachenode.h"

class CacheNodeIndex;

/// A node in the index.
struct CacheNodeEntry {
    CacheNodeIndex* index = nullptr;  ///< Null once the node has left the list.
    std::list<CacheNode>::iterator node;
    std::uint64_t order = 0;  ///< Grows from the front of the list to its back.
    std::uint32_t id = 0;     ///< The id under which the entry is linked.
    bool hasNewID = false;    ///< The node may have another id; it is in the stack of such nodes.
    CacheNodeEntry* previous = nullptr;  ///< In the chain of the bucket of `id`.
    CacheNodeEntry* next = nullptr;
    CacheNodeEntry* nextWithNewID = nullptr;
};

/// The index of one list: a hash table from ids to nodes, and a pointer to the first clean node.
/// Each find returns exactly the node that a walk through the list would find.
///
/// Nodes report changes of their id and state themselves, and all moves are made by `MoveToBack`.
/// Several threads may report changes of different nodes at the same time; all other operations
/// need exclusive use of the list and its nodes. A change of the list's length by others is noticed
/// by the next find, which builds the index anew.
///
/// The list must outlive the index.
class CacheNodeIndex {
public:
    using Iterator = std::list<CacheNode>::iterator;

    /// The memory for an index of `nodeCount` nodes. Allocated apart, so that it can be had before
    /// anything is changed.
    struct Storage {
        Storage() = default;
        explicit Storage(std::size_t nodeCount);

        std::vector<CacheNodeEntry> entries;
        std::vector<CacheNodeEntry*> buckets;
    };

    explicit CacheNodeIndex(std::list<CacheNode>& list);
    ~CacheNodeIndex();
    CacheNodeIndex(const CacheNodeIndex&) = delete;
    CacheNodeIndex& operator=(const CacheNodeIndex&) = delete;

    /// The last node in the list with this id; the list's end if there is none.
    Iterator FindLast(std::uint32_t id);

    /// The first node in the list with this id; the list's end if there is none.
    Iterator FindFirst(std::uint32_t id);

    /// The first node in state 0; the list's end if there is none.
    Iterator FindFirstClean();

    /// Moves a node that a find has returned, and that is not the last one, to the back of the
    /// list. The caller defers kills.
    void MoveToBack(Iterator node);

    /// Builds the index for the list as it is now. `storage` must have been made for its length.
    void Rebuild(Storage storage);

    /// Reports that a node is clean. The caller defers kills.
    void NoteClean(CacheNodeEntry& entry);

    /// Reports that a node has a new id. The caller defers kills.
    void NoteNewID(CacheNodeEntry& entry);

    /// Reports that a node is about to be destroyed.
    void Remove(CacheNodeEntry& entry);

private:
    void Update();
    void Release();
    void LinkThoseWithNewIDs();
    void Link(CacheNodeEntry& entry);
    void Unlink(CacheNodeEntry& entry);
    bool IsNewestOfID(const CacheNodeEntry& entry);
    CacheNodeEntry*& BucketOf(std::uint32_t id);

    std::list<CacheNode>& m_Nodes;
    Storage m_Storage;
    int m_Shift = 0;          ///< Leaves as many bits of a hash as number the buckets.
    std::size_t m_Count = 0;  ///< Nodes in the index; `OUTDATED` after a removal.
    std::uint64_t m_LastOrder = 0;
    std::atomic<CacheNodeEntry*> m_WithNewIDs{nullptr};  ///< The top of the stack.
    std::atomic<CacheNodeEntry*> m_FirstClean{nullptr};  ///< No clean node stands before it.
};

#endif
