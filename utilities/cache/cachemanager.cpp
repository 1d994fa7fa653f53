#include "utilities/cache/cachemanager.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "utilities/cache/nodeindex_internal.h"
#include "utilities/locks/scopedlock_internal.h"
#include "utilities/platform/stopdeferral.h"

namespace {

constexpr std::uint32_t LEAST_AMOUNT = 3;
constexpr std::uint32_t SPARE_NODES = 20;
constexpr std::uint32_t GREATEST_AMOUNT = 5000;

constexpr std::uint32_t EMPTY_RANGE_MAX = 0;
constexpr std::uint32_t EMPTY_RANGE_MIN = 0xFFFFFFFF;

constexpr unsigned char NO_CLEAN_NODE = 1;
constexpr unsigned char CACHE_SHRINKS = 2;

constexpr int CHANGED = 1;
constexpr int HOLDS_COPY = 1;

// The node for a new block when none is clean. A cache without nodes gets its first one.
std::list<CacheNode>::iterator LeastRecentlyUsed(std::list<CacheNode>& nodes, std::uint32_t size) {
    if (nodes.empty())
        nodes.emplace_back(size);
    return nodes.begin();
}

// Adds the missing nodes at the back, or moves the surplus ones from there to `others`.
void Resize(std::list<CacheNode>& nodes, std::size_t amount, std::list<CacheNode>& others) {
    nodes.splice(nodes.end(), others);
    while (nodes.size() > amount)
        others.splice(others.begin(), nodes, std::prev(nodes.end()));
}

}  // namespace

CacheManager::CacheManager(unsigned int requestedNodes, unsigned int blockSize)
    : allocatedNodes(0),
      minNodes(LEAST_AMOUNT),
      nodeDataSize(blockSize),
      freeNodes(0),
      maxNodeID(EMPTY_RANGE_MAX),
      minNodeID(EMPTY_RANGE_MIN),
      useRequestedAmount(true),
      mruLock("CM_MRU_CTL"),
      m_WriteIndex(std::make_unique<CacheNodeIndex>(writeCache)),
      m_ReadIndex(std::make_unique<CacheNodeIndex>(readCache)) {
    ResizeTiers(determineNodesAmount(requestedNodes));
}

CacheManager::~CacheManager() = default;

CacheNode* CacheManager::addNodeID_ToWC(const unsigned int& id) {
    const unsigned int newID = id;  // `id` may refer to a field that the flush changes
    auto node = m_WriteIndex->FindFirstClean();
    if (node == writeCache.end()) {
        flushCache(NO_CLEAN_NODE);
        node = LeastRecentlyUsed(writeCache, nodeDataSize);
    }
    node->setNodeID(newID);
    moveToMRU_InWC(node);
    maxNodeID = std::max(maxNodeID, newID);
    minNodeID = std::min(minNodeID, newID);
    return &*node;
}

CacheNode* CacheManager::addNodeID_ToRC(const unsigned int& id) {
    auto node = m_ReadIndex->FindFirstClean();
    if (node == readCache.end())
        node = LeastRecentlyUsed(readCache, nodeDataSize);
    node->setNodeID(id);
    moveToMRU_InRC(node);
    return &*node;
}

CacheNode* CacheManager::searchNodeID_InWC(const unsigned int& id) {
    if (!IsInRange(id))
        return nullptr;
    auto node = m_WriteIndex->FindLast(id);
    if (node == writeCache.end())
        return nullptr;
    moveToMRU_InWC(node);
    return &*node;
}

CacheNode* CacheManager::searchNodeID_InRC(const unsigned int& id) {
    if (IsInRange(id)) {
        auto node = m_WriteIndex->FindLast(id);
        if (node != writeCache.end()) {
            copyNodeID_ToRC(node);
            return &*node;
        }
    }
    auto node = m_ReadIndex->FindLast(id);
    if (node == readCache.end())
        return nullptr;
    moveToMRU_InRC(node);
    return &*node;
}

// Calls the client's function without a lock and without a deferral: the thread may be suspended or
// killed in it as in any code of the client, and the list is complete then.
void CacheManager::flushCache(unsigned char) {
    for (CacheNode& node : writeCache) {
        if (node.getNodeState() != CHANGED)
            continue;
        writeBackNode(&node);
        const platform::StopDeferral untilCounted;
        node.setNodeState(0);
        ++freeNodes;
    }
    EmptyRange();
    ForgetNodes(readCache);
}

void CacheManager::clearCache() {
    ForgetNodes(writeCache);
    freeNodes = allocatedNodes;
    EmptyRange();
    ForgetNodes(readCache);
}

void CacheManager::resizeCache(unsigned int count) {
    const unsigned int amount = determineNodesAmount(count / 10);
    if (amount < allocatedNodes)
        flushCache(CACHE_SHRINKS);
    ResizeTiers(amount);
}

unsigned int CacheManager::getAllocatedNodes() const { return allocatedNodes; }

unsigned int CacheManager::determineNodesAmount(unsigned int requested) const {
    unsigned int amount = std::max(requested, LEAST_AMOUNT);
    if (amount != minNodes)
        amount = (useRequestedAmount ? requested : minNodes) + SPARE_NODES;
    return std::min(amount, GREATEST_AMOUNT);
}

inline bool CacheManager::IsInRange(unsigned int id) const {
    return id >= minNodeID && id <= maxNodeID;
}

// Moves the element itself, without a copy of the node: a client may rely neither on the address of
// a moved node to change nor on it to stay.
inline void CacheManager::moveToMRU_InWC(std::list<CacheNode>::iterator& node) {
    if (node->getNodeID() == writeCache.back().getNodeID())
        return;
    const ScopedLock lock(mruLock);
    m_WriteIndex->MoveToBack(node);
}

inline void CacheManager::moveToMRU_InRC(std::list<CacheNode>::iterator& node) {
    if (node->getNodeID() == readCache.back().getNodeID())
        return;
    const platform::StopDeferral untilMoved;
    m_ReadIndex->MoveToBack(node);
}

// Apart, so that the usual find stays short. A thread that was killed in between would leave a copy
// that has the id, but not yet the data.
[[gnu::noinline]] void CacheManager::copyNodeID_ToRC(std::list<CacheNode>::iterator& node) {
    const platform::StopDeferral untilCopied;
    const unsigned int id = node->getNodeID();
    auto found = m_ReadIndex->FindFirst(id);
    if (found != readCache.end())
        moveToMRU_InRC(found);
    CacheNode* const copy = found != readCache.end() ? &*found : addNodeID_ToRC(id);
    std::memcpy(copy->getNodeData(), node->getNodeData(), nodeDataSize);
    copy->setNodeState(HOLDS_COPY);
}

void CacheManager::EmptyRange() {
    minNodeID = EMPTY_RANGE_MIN;
    maxNodeID = EMPTY_RANGE_MAX;
}

void CacheManager::ForgetNodes(std::list<CacheNode>& nodes) {
    for (CacheNode& node : nodes)
        node.Forget(nodeDataSize);
}

// The nodes of a list are allocated before their blocks: they lie close together then, and moving
// through the list touches few pages of memory.
std::list<CacheNode> CacheManager::MissingNodes(const std::list<CacheNode>& nodes,
                                                std::size_t amount) const {
    std::list<CacheNode> missing;
    while (nodes.size() + missing.size() < amount)
        missing.emplace_back();
    for (CacheNode& node : missing)
        node.Reallocate(nodeDataSize);
    return missing;
}

// Allocates all memory first, so that nothing has changed when it runs out. Surplus nodes are freed
// when kills are no longer deferred, as that may take long.
void CacheManager::ResizeTiers(unsigned int amount) {
    std::list<CacheNode> forWriting = MissingNodes(writeCache, amount);
    std::list<CacheNode> forReading = MissingNodes(readCache, amount / 2);
    CacheNodeIndex::Storage writeStorage(amount), readStorage(amount / 2);
    const platform::StopDeferral untilResized;
    Resize(writeCache, amount, forWriting);
    Resize(readCache, amount / 2, forReading);
    m_WriteIndex->Rebuild(std::move(writeStorage));
    m_ReadIndex->Rebuild(std::move(readStorage));
    freeNodes = amount < allocatedNodes ? amount : freeNodes + (amount - allocatedNodes);
    allocatedNodes = amount;
}
