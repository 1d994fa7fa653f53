#include "utilities/cache/nodeindex_internal.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <utility>

#include "utilities/platform/stopdeferral.h"

// Invariants. Whatever changes more than one field does so under a deferral, so that they hold
// after a kill as well.
//
// - The order numbers of the entries grow from the front of the list to its back: a node that moves
//   to the back takes the next number.
// - No node in state 0 stands before that of `m_FirstClean`, and none is in the list if it is null.
//   A find of a clean node walks on from there and stores where it ended, so that changed nodes are
//   passed over once and not by each find. A node that becomes clean puts itself there if it stands
//   before; if the node itself moves to the back, the next one takes its place.
// - All nodes with one id are in one bucket's chain, the last one in the list first. A node whose
//   place in the chains may be wrong is in the stack of nodes with new ids; each find by id first
//   empties the stack. Threads that change different nodes meet in the top of the stack and in
//   `m_FirstClean` only.
// - Nodes without a block are in no chain: they may be many, and clients don't search for them.

namespace {

constexpr std::size_t OUTDATED = static_cast<std::size_t>(-1);

// The first entry with `id` in a chain from `entry` on, or null.
CacheNodeEntry* FindInChain(CacheNodeEntry* entry, std::uint32_t id) {
    while (entry != nullptr && entry->id != id)
        entry = entry->next;
    return entry;
}

}  // namespace

// At most every second bucket is used, so that most chains have one entry.
CacheNodeIndex::Storage::Storage(std::size_t nodeCount)
    : entries(nodeCount), buckets(std::bit_ceil(2 * nodeCount + 2)) {}

CacheNodeIndex::CacheNodeIndex(std::list<CacheNode>& list) : m_Nodes(list) {
    Rebuild(Storage(list.size()));
}

CacheNodeIndex::~CacheNodeIndex() { Release(); }

CacheNodeIndex::Iterator CacheNodeIndex::FindLast(std::uint32_t id) {
    Update();
    if (id == CacheNode::getDefaultNodeID()) {
        const auto last =
            std::ranges::find(m_Nodes.rbegin(), m_Nodes.rend(), id, &CacheNode::getNodeID);
        return last != m_Nodes.rend() ? std::prev(last.base()) : m_Nodes.end();
    }
    const CacheNodeEntry* const last = FindInChain(BucketOf(id), id);
    return last != nullptr ? last->node : m_Nodes.end();
}

CacheNodeIndex::Iterator CacheNodeIndex::FindFirst(std::uint32_t id) {
    Update();
    if (id == CacheNode::getDefaultNodeID())
        return std::ranges::find(m_Nodes, id, &CacheNode::getNodeID);
    Iterator first = m_Nodes.end();
    for (const CacheNodeEntry* entry = FindInChain(BucketOf(id), id); entry != nullptr;
         entry = FindInChain(entry->next, id))
        first = entry->node;
    return first;
}

CacheNodeIndex::Iterator CacheNodeIndex::FindFirstClean() {
    Update();
    const CacheNodeEntry* const first = m_FirstClean.load(std::memory_order_relaxed);
    if (first == nullptr)
        return m_Nodes.end();
    const Iterator found =
        std::ranges::find(first->node, m_Nodes.end(), 0, &CacheNode::getNodeState);
    m_FirstClean.store(found != m_Nodes.end() ? found->m_Entry : nullptr,
                       std::memory_order_relaxed);
    return found;
}

void CacheNodeIndex::MoveToBack(Iterator node) {
    CacheNodeEntry& entry = *node->m_Entry;
    if (m_FirstClean.load(std::memory_order_relaxed) == &entry)
        m_FirstClean.store(std::next(node)->m_Entry, std::memory_order_relaxed);
    m_Nodes.splice(m_Nodes.end(), m_Nodes, node);
    entry.order = ++m_LastOrder;
    if (!entry.hasNewID && !IsNewestOfID(entry))
        NoteNewID(entry);  // It has become the newest.
}

void CacheNodeIndex::Rebuild(Storage storage) {
    const platform::StopDeferral untilBuilt;
    Release();
    std::swap(m_Storage, storage);
    m_Shift = 64 - std::countr_zero(m_Storage.buckets.size());
    for (Iterator node = m_Nodes.begin(); node != m_Nodes.end(); ++node) {
        if (node->m_Entry != nullptr)  // It came from the list of another index.
            node->m_Entry->index->Remove(*node->m_Entry);
        CacheNodeEntry& entry = m_Storage.entries[m_Count++];
        entry.index = this;
        entry.node = node;
        entry.order = ++m_LastOrder;
        node->m_Entry = &entry;
        Link(entry);
    }
    m_FirstClean = m_Nodes.empty() ? nullptr : m_Nodes.front().m_Entry;
}

void CacheNodeIndex::NoteClean(CacheNodeEntry& entry) {
    CacheNodeEntry* first = m_FirstClean.load(std::memory_order_relaxed);
    while ((first == nullptr || entry.order < first->order) &&
           !m_FirstClean.compare_exchange_weak(first, &entry, std::memory_order_relaxed))
        continue;
}

void CacheNodeIndex::NoteNewID(CacheNodeEntry& entry) {
    if (entry.hasNewID)
        return;
    entry.hasNewID = true;
    entry.nextWithNewID = m_WithNewIDs.load(std::memory_order_relaxed);
    while (
        !m_WithNewIDs.compare_exchange_weak(entry.nextWithNewID, &entry, std::memory_order_release))
        continue;
}

// The entry stays where it is linked: what leads there is not followed before the index is rebuilt.
void CacheNodeIndex::Remove(CacheNodeEntry& entry) {
    m_Count = OUTDATED;
    entry.node->m_Entry = nullptr;
    entry.index = nullptr;
}

inline void CacheNodeIndex::Update() {
    if (m_Count != m_Nodes.size())
        Rebuild(Storage(m_Nodes.size()));
    if (m_WithNewIDs.load(std::memory_order_relaxed) != nullptr)
        LinkThoseWithNewIDs();
}

void CacheNodeIndex::Release() {
    for (CacheNodeEntry& entry : m_Storage.entries) {
        if (entry.index != nullptr)
            entry.node->m_Entry = nullptr;
    }
    m_Count = 0;
    m_WithNewIDs.store(nullptr, std::memory_order_relaxed);
}

void CacheNodeIndex::LinkThoseWithNewIDs() {
    const platform::StopDeferral untilLinked;
    CacheNodeEntry* entry = m_WithNewIDs.exchange(nullptr, std::memory_order_acquire);
    for (; entry != nullptr; entry = entry->nextWithNewID) {
        entry->hasNewID = false;
        Unlink(*entry);
        Link(*entry);
    }
}

// Before the first entry with its id that stands before it in the list. Most often that is the
// first one with its id, as the entry's node has just moved to the back.
void CacheNodeIndex::Link(CacheNodeEntry& entry) {
    entry.id = entry.node->getNodeID();
    entry.previous = nullptr;
    if (entry.id == CacheNode::getDefaultNodeID())
        return;
    CacheNodeEntry** link = &BucketOf(entry.id);
    while (*link != nullptr && ((*link)->id != entry.id || (*link)->order > entry.order)) {
        entry.previous = *link;
        link = &(*link)->next;
    }
    entry.next = *link;
    if (entry.next != nullptr)
        entry.next->previous = &entry;
    *link = &entry;
}

void CacheNodeIndex::Unlink(CacheNodeEntry& entry) {
    if (entry.id == CacheNode::getDefaultNodeID())
        return;
    (entry.previous != nullptr ? entry.previous->next : BucketOf(entry.id)) = entry.next;
    if (entry.next != nullptr)
        entry.next->previous = entry.previous;
}

// Most often it is the first one in its chain.
inline bool CacheNodeIndex::IsNewestOfID(const CacheNodeEntry& entry) {
    return entry.previous == nullptr || FindInChain(BucketOf(entry.id), entry.id) == &entry;
}

// Fibonacci hashing: the product with 2^64 divided by the golden ratio spreads over its high bits
// both ids that follow one another and multiples of a number.
inline CacheNodeEntry*& CacheNodeIndex::BucketOf(std::uint32_t id) {
    return m_Storage.buckets[(id * 0x9E3779B97F4A7C15u) >> m_Shift];
}
