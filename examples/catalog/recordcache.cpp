#include "recordcache.h"

#include <algorithm>
#include <cstring>

#include "storefile.h"

namespace {

constexpr unsigned int NODES = 1000;
constexpr unsigned int RECORDS_IN_BLOCK = 16;
constexpr unsigned int BLOCK_SIZE = RECORDS_IN_BLOCK * RECORD_SIZE;

// A node's data is a block of records, and after it a state for each.
enum RecordState : char { UNKNOWN, LOADED, CHANGED };
constexpr unsigned int NODE_SIZE = BLOCK_SIZE + RECORDS_IN_BLOCK;

// A record that another process is just writing looks damaged, for a moment.
constexpr int READING_ATTEMPTS = 50;
constexpr unsigned int BETWEEN_ATTEMPTS = 2;  // Milliseconds.

unsigned int BlockOf(unsigned int number) { return (number - 1) / RECORDS_IN_BLOCK; }

/// Where a record and its state are in a node.
struct Place {
    Place(CacheNode& node, unsigned int number)
        : record(reinterpret_cast<char*>(node.getNodeData()) +
                 (number - 1) % RECORDS_IN_BLOCK * RECORD_SIZE),
          state(reinterpret_cast<char*>(
              node.getNodeData())[BLOCK_SIZE + (number - 1) % RECORDS_IN_BLOCK]) {}
    char* record;
    char& state;
};

}  // namespace

RecordCache::RecordCache(BinaryFile& reader, BinaryFile* writer)
    : CacheManager(NODES, NODE_SIZE), m_Source(reader), m_Target(writer) {}

CacheNode* RecordCache::Fetch(unsigned int block, bool toChange) {
    CacheNode* node = toChange ? searchNodeID_InWC(block) : searchNodeID_InRC(block);
    if (node != nullptr)
        return node;
    node = toChange ? addNodeID_ToWC(block) : addNodeID_ToRC(block);
    std::memset(node->getNodeData() + BLOCK_SIZE, UNKNOWN, RECORDS_IN_BLOCK);
    node->setNodeState(1);
    return node;
}

bool RecordCache::Load(unsigned int number, char* record) {
    for (int attempt = 0; attempt < READING_ATTEMPTS; ++attempt) {
        const int got = m_Source.readFile(number);
        if (got == 0)
            return false;
        CheckResult(got, RECORD_SIZE);
        std::memcpy(record, m_Source.getRecordBuffer(), RECORD_SIZE);
        if (IsIntact(record))
            return true;
        BqSleep(BETWEEN_ATTEMPTS);
    }
    throw StoreError("record " + std::to_string(number) + " is damaged");
}

std::string RecordCache::Read(unsigned int number) {
    const Place place(*Fetch(BlockOf(number), false), number);
    if (place.state == UNKNOWN && Load(number, place.record))
        place.state = LOADED;
    return place.state == UNKNOWN ? std::string() : std::string(place.record, RECORD_SIZE);
}

void RecordCache::Write(unsigned int number, const std::string& record) {
    const Place place(*Fetch(BlockOf(number), true), number);
    record.copy(place.record, RECORD_SIZE);
    place.state = CHANGED;
}

// After a flush alone the nodes keep their ids, and would be found again once newer ones have
// widened the range of ids, with records that have changed in the file meanwhile.
void RecordCache::Flush() {
    flushCache(0);
    clearCache();
}

void RecordCache::writeBackNode(CacheNode* node) {
    for (unsigned int i = 1; i <= RECORDS_IN_BLOCK; ++i) {
        const unsigned int number = node->getNodeID() * RECORDS_IN_BLOCK + i;
        const Place place(*node, number);
        if (place.state != CHANGED)
            continue;
        // The file takes a number above its count for a record to add, so it counts anew first.
        if (number > m_Target->getRecordCount())
            CheckResult(RetryWhileLocked([&] { return m_Target->readFile(number); }), RECORD_SIZE);
        std::memcpy(m_Target->getRecordBuffer(), place.record, RECORD_SIZE);
        CheckResult(RetryWhileLocked([&] { return m_Target->writeFile(number); }), RECORD_SIZE);
        place.state = LOADED;
    }
}
