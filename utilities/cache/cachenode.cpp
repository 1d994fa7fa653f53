#include "utilities/cache/cachenode.h"

#include <cstring>

#include "utilities/cache/nodeindex_internal.h"

namespace {

constexpr std::uint32_t NO_BLOCK = 0xFFFFFFFF;

}  // namespace

CacheNode::CacheNode(unsigned int size)
    : nodeState(0),
      nodeID(NO_BLOCK),
      nodeData(new unsigned char[size]),
      nodeDataSize(size),
      entry(nullptr) {}

CacheNode::CacheNode(const CacheNode& other)
    : nodeState(other.nodeState),
      nodeID(other.nodeID),
      nodeData(new unsigned char[other.nodeDataSize]),
      nodeDataSize(other.nodeDataSize),
      entry(nullptr) {
    std::memcpy(nodeData, other.nodeData, nodeDataSize);
}

CacheNode& CacheNode::operator=(const CacheNode& other) {
    nodeDataSize = other.nodeDataSize;
    std::memmove(nodeData, other.nodeData, nodeDataSize);
    Store(other.nodeState, other.nodeID);
    return *this;
}

CacheNode::~CacheNode() {
    if (entry != nullptr)
        entry->index->Remove(*entry);
    delete[] nodeData;
}

unsigned int CacheNode::getDefaultNodeID() { return NO_BLOCK; }

void CacheNode::setNodeState(int state) { Store(state, nodeID); }

void CacheNode::setNodeID(const unsigned int& id) { Store(nodeState, id); }

// What the assignment of a new node of this size does, but for the bytes, which are of no meaning.
void CacheNode::Forget(std::uint32_t size) {
    nodeDataSize = size;
    Store(0, NO_BLOCK);
}

inline void CacheNode::Store(std::int32_t state, std::uint32_t id) {
    const bool hasNewID = id != nodeID;
    nodeState = state;
    nodeID = id;
    if (entry == nullptr)
        return;
    if (state == 0)
        entry->index->NoteCleanNode();
    if (hasNewID)
        entry->index->NoteNewID(*entry);
}
