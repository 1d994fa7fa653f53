#include "utilities/cache/cachenode.h"

#include <cstring>

#include "utilities/cache/nodeindex_internal.h"
#include "utilities/platform/stopdeferral.h"

namespace {

constexpr std::uint32_t NO_BLOCK = 0xFFFFFFFF;

}  // namespace

CacheNode::CacheNode(unsigned int size)
    : nodeState(0),
      nodeID(NO_BLOCK),
      nodeData(new unsigned char[size]),
      nodeDataSize(size),
      m_Entry(nullptr) {}

CacheNode::CacheNode(const CacheNode& other)
    : nodeState(other.nodeState),
      nodeID(other.nodeID),
      nodeData(new unsigned char[other.nodeDataSize]),
      nodeDataSize(other.nodeDataSize),
      m_Entry(nullptr) {
    std::memcpy(nodeData, other.nodeData, nodeDataSize);
}

CacheNode& CacheNode::operator=(const CacheNode& other) {
    nodeDataSize = other.nodeDataSize;
    std::memmove(nodeData, other.nodeData, nodeDataSize);
    Store(other.nodeState, other.nodeID);
    return *this;
}

CacheNode::~CacheNode() {
    if (m_Entry != nullptr)
        m_Entry->index->Remove(*m_Entry);
    delete[] nodeData;
}

unsigned int CacheNode::getDefaultNodeID() { return NO_BLOCK; }

void CacheNode::setNodeState(int state) { Store(state, nodeID); }

void CacheNode::setNodeID(const unsigned int& id) { Store(nodeState, id); }

// Replaces the block by a new one. The old bytes are lost.
void CacheNode::Reallocate(std::uint32_t size) {
    unsigned char* const block = new unsigned char[size];
    delete[] nodeData;
    nodeData = block;
    nodeDataSize = size;
}

// Has the effect of assigning a new node of this size, without copying bytes that have no meaning.
void CacheNode::Forget(std::uint32_t size) {
    nodeDataSize = size;
    Store(0, NO_BLOCK);
}

// A thread that was killed between the change and its report would leave the index wrong.
inline void CacheNode::Store(std::int32_t state, std::uint32_t id) {
    const bool hasNewID = id != nodeID;
    if (m_Entry == nullptr || (state != 0 && !hasNewID)) {
        nodeState = state;
        nodeID = id;
        return;
    }
    const platform::StopDeferral untilReported;
    nodeState = state;
    nodeID = id;
    if (state == 0)
        m_Entry->index->NoteClean(*m_Entry);
    if (hasNewID)
        m_Entry->index->NoteNewID(*m_Entry);
}
