#include "utilities/cache/cachemanager.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "utilities/cache/nodeindex_internal.h"
#include "utilities/platform/threads.h"

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

// The node for a new block where none is clean.
std::list<CacheNode>::iterator LeastRecentlyUsed(std::list<CacheNode>& nodes, std::uint32_t size) {
    if (nodes.empty())
        nodes.emplace_back(size);
    return nodes.begin();
}

std::list<CacheNode> MissingNodes(const std::list<CacheNode>& nodes, std::size_t amount,
                                  std::uint32_t size) {
    std::list<CacheNode> missing;
    while (nodes.size() + missing.size() < amount)
        missing.emplace_back(size);
    return missing;
}

void Resize(std::list<CacheNode>& nodes, std::size_t amount, std::list<CacheNode>& missing) {
    while (nodes.size() > amount)
        nodes.pop_back();
    nodes.splice(nodes.end(), missing);
}

}  // namespace

CacheManager::CacheManager(unsigned int requestedNodes, unsigned int blockSize)
    : minNodes(LEAST_AMOUNT),
      nodeDataSize(blockSize),
      maxNodeID(EMPTY_RANGE_MAX),
      minNodeID(EMPTY_RANGE_MIN),
      useRequestedAmount(true),
      mruLock("CM_MRU_CTL") {
    allocatedNodes = determineNodesAmount(requestedNodes);
    freeNodes = allocatedNodes;
    resizeLists(allocatedNodes);
    writeIndex = std::make_unique<CacheNodeIndex>(writeCache);
    readIndex = std::make_unique<CacheNodeIndex>(readCache);
}

CacheManager::~CacheManager() = default;

CacheNode* CacheManager::addNodeID_ToWC(const unsigned int& id) {
    const unsigned int newID = id;  // what it refers to may be changed by the flush
    auto node = writeIndex->FindClean();
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
    auto node = readIndex->FindClean();
    if (node == readCache.end())
        node = LeastRecentlyUsed(readCache, nodeDataSize);
    node->setNodeID(id);
    moveToMRU_InRC(node);
    return &*node;
}

CacheNode* CacheManager::searchNodeID_InWC(const unsigned int& id) {
    if (!isInRange(id))
        return nullptr;
    auto node = writeIndex->FindFromBack(id);
    if (node == writeCache.end())
        return nullptr;
    moveToMRU_InWC(node);
    return &*node;
}

CacheNode* CacheManager::searchNodeID_InRC(const unsigned int& id) {
    if (isInRange(id)) {
        auto node = writeIndex->FindFromBack(id);
        if (node != writeCache.end()) {
            copyNodeID_ToRC(node);
            return &*node;
        }
    }
    auto node = readIndex->FindFromBack(id);
    if (node == readCache.end())
        return nullptr;
    moveToMRU_InRC(node);
    return &*node;
}

// The client's function is called without a lock and without a hold-off: it may be suspended or
// killed in it as in any code of its own. The list is as whole then as at any other time.
void CacheManager::flushCache(unsigned char) {
    for (CacheNode& node : writeCache) {
        if (node.getNodeState() != CHANGED)
            continue;
        writeBackNode(&node);
        node.setNodeState(0);
        ++freeNodes;
    }
    emptyRange();
    forgetNodes(readCache);
}

void CacheManager::clearCache() {
    forgetNodes(writeCache);
    freeNodes = allocatedNodes;
    emptyRange();
    forgetNodes(readCache);
}

void CacheManager::resizeCache(unsigned int count) {
    const unsigned int amount = determineNodesAmount(count / 10);
    const bool shrinks = amount < allocatedNodes;
    if (shrinks)
        flushCache(CACHE_SHRINKS);
    resizeLists(amount);
    freeNodes = shrinks ? amount : freeNodes + (amount - allocatedNodes);
    allocatedNodes = amount;
    writeIndex->Update();
    readIndex->Update();
}

unsigned int CacheManager::getAllocatedNodes() const { return allocatedNodes; }

unsigned int CacheManager::determineNodesAmount(unsigned int requested) const {
    unsigned int amount = std::max(requested, LEAST_AMOUNT);
    if (amount != minNodes)
        amount = (useRequestedAmount ? requested : minNodes) + SPARE_NODES;
    return std::min(amount, GREATEST_AMOUNT);
}

inline bool CacheManager::isInRange(unsigned int id) const {
    return id >= minNodeID && id <= maxNodeID;
}

// The element itself moves: nobody may rely on the address of a node that has moved, neither that
// it stays nor that it changes. A thread that was killed or suspended between `Lock` and `Unlock`
// would leave the lock taken and the list torn, so that waits until the few steps are done. All
// holders of this class are as quick, and nothing of a client runs in between.
inline void CacheManager::moveToMRU_InWC(std::list<CacheNode>::iterator& node) {
    if (node->getNodeID() == writeCache.back().getNodeID())
        return;
    const platform::HoldOff untilUnlocked;
    mruLock.Lock();
    writeCache.splice(writeCache.end(), writeCache, node);
    mruLock.Unlock();
}

inline void CacheManager::moveToMRU_InRC(std::list<CacheNode>::iterator& node) {
    if (node->getNodeID() != readCache.back().getNodeID())
        readCache.splice(readCache.end(), readCache, node);
}

void CacheManager::copyNodeID_ToRC(std::list<CacheNode>::iterator& node) {
    const unsigned int id = node->getNodeID();
    auto found = readIndex->FindFromFront(id);
    if (found != readCache.end())
        moveToMRU_InRC(found);
    CacheNode* const copy = found != readCache.end() ? &*found : addNodeID_ToRC(id);
    std::memcpy(copy->getNodeData(), node->getNodeData(), nodeDataSize);
    copy->setNodeState(HOLDS_COPY);
}

void CacheManager::emptyRange() {
    minNodeID = EMPTY_RANGE_MIN;
    maxNodeID = EMPTY_RANGE_MAX;
}

void CacheManager::forgetNodes(std::list<CacheNode>& nodes) {
    for (CacheNode& node : nodes)
        node.Forget(nodeDataSize);
}

// Without memory for all new nodes nothing changes.
void CacheManager::resizeLists(std::size_t amount) {
    std::list<CacheNode> forWriting = MissingNodes(writeCache, amount, nodeDataSize);
    std::list<CacheNode> forReading = MissingNodes(readCache, amount / 2, nodeDataSize);
    Resize(writeCache, amount, forWriting);
    Resize(readCache, amount / 2, forReading);
}
