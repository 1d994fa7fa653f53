#include "utilities/cache/nodeindex_internal.h"

#include <algorithm>
#include <bit>
#include <iterator>

CacheNodeIndex::CacheNodeIndex(std::list<CacheNode>& list) : nodes(list) { Rebuild(); }

CacheNodeIndex::~CacheNodeIndex() { Release(); }

CacheNodeIndex::Iterator CacheNodeIndex::FindFromBack(std::uint32_t id) {
    Iterator found = nodes.end();
    if (Look(id, found) != Bearers::SEVERAL)
        return found;
    const auto last = std::find_if(nodes.rbegin(), nodes.rend(),
                                   [id](const CacheNode& node) { return node.getNodeID() == id; });
    return last == nodes.rend() ? nodes.end() : std::prev(last.base());
}

CacheNodeIndex::Iterator CacheNodeIndex::FindFromFront(std::uint32_t id) {
    Iterator found = nodes.end();
    if (Look(id, found) != Bearers::SEVERAL)
        return found;
    return std::find_if(nodes.begin(), nodes.end(),
                        [id](const CacheNode& node) { return node.getNodeID() == id; });
}

CacheNodeIndex::Iterator CacheNodeIndex::FindClean() {
    Update();
    if (!mayHaveClean.load(std::memory_order_relaxed))
        return nodes.end();
    const Iterator found = std::find_if(
        nodes.begin(), nodes.end(), [](const CacheNode& node) { return node.getNodeState() == 0; });
    if (found == nodes.end())
        mayHaveClean.store(false, std::memory_order_relaxed);
    return found;
}

void CacheNodeIndex::Update() {
    if (count != nodes.size())
        Rebuild();
    if (withNewIDs.load(std::memory_order_relaxed) != nullptr)
        LinkThoseWithNewIDs();
}

void CacheNodeIndex::NoteNewID(CacheNodeEntry& entry) {
    if (entry.hasNewID)
        return;
    entry.hasNewID = true;
    entry.nextWithNewID = withNewIDs.load(std::memory_order_relaxed);
    while (
        !withNewIDs.compare_exchange_weak(entry.nextWithNewID, &entry, std::memory_order_release))
        continue;
}

void CacheNodeIndex::Remove(CacheNodeEntry& entry) {
    LinkThoseWithNewIDs();
    Unlink(entry);
    entry.node->entry = nullptr;
    entry.index = nullptr;
    --count;
}

// Sets `found` where just one node bears the id. Nodes without a block are not in the table, for
// they may be many: they count as several.
inline CacheNodeIndex::Bearers CacheNodeIndex::Look(std::uint32_t id, Iterator& found) {
    Update();
    if (id == CacheNode::getDefaultNodeID())
        return Bearers::SEVERAL;
    const auto findFrom = [id](const CacheNodeEntry* entry) {
        while (entry != nullptr && entry->id != id)
            entry = entry->next;
        return entry;
    };
    const CacheNodeEntry* const first = findFrom(BucketOf(id));
    if (first == nullptr)
        return Bearers::NONE;
    if (findFrom(first->next) != nullptr)
        return Bearers::SEVERAL;
    found = first->node;
    return Bearers::ONE;
}

// Fibonacci hashing: the high bits of the product spread ids that follow one another as well as
// multiples.
inline CacheNodeEntry*& CacheNodeIndex::BucketOf(std::uint32_t id) {
    return buckets[(id * 0x9E3779B97F4A7C15u) >> shift];
}

// Nothing has changed when memory runs out.
void CacheNodeIndex::Rebuild() {
    const std::size_t bucketCount = std::bit_ceil(2 * nodes.size() + 2);
    std::vector<CacheNodeEntry> newEntries(nodes.size());
    std::vector<CacheNodeEntry*> newBuckets(bucketCount, nullptr);
    Release();
    entries.swap(newEntries);
    buckets.swap(newBuckets);
    shift = 64 - std::countr_zero(bucketCount);
    for (Iterator node = nodes.begin(); node != nodes.end(); ++node) {
        if (node->entry != nullptr)  // it came from the list of another index
            node->entry->index->Remove(*node->entry);
        CacheNodeEntry& entry = entries[count++];
        entry.index = this;
        entry.node = node;
        node->entry = &entry;
        Link(entry);
    }
    NoteCleanNode();
}

void CacheNodeIndex::Release() {
    for (CacheNodeEntry& entry : entries) {
        if (entry.index != nullptr)
            entry.node->entry = nullptr;
    }
    count = 0;
    withNewIDs.store(nullptr, std::memory_order_relaxed);
}

void CacheNodeIndex::LinkThoseWithNewIDs() {
    CacheNodeEntry* entry = withNewIDs.exchange(nullptr, std::memory_order_acquire);
    for (; entry != nullptr; entry = entry->nextWithNewID) {
        entry->hasNewID = false;
        Unlink(*entry);
        Link(*entry);
    }
}

void CacheNodeIndex::Link(CacheNodeEntry& entry) {
    entry.id = entry.node->getNodeID();
    if (entry.id == CacheNode::getDefaultNodeID())
        return;
    CacheNodeEntry*& bucket = BucketOf(entry.id);
    entry.link = &bucket;
    entry.next = bucket;
    if (entry.next != nullptr)
        entry.next->link = &entry.next;
    bucket = &entry;
}

void CacheNodeIndex::Unlink(CacheNodeEntry& entry) {
    if (entry.link == nullptr)
        return;
    *entry.link = entry.next;
    if (entry.next != nullptr)
        entry.next->link = entry.link;
    entry.link = nullptr;
}
