#include "recordcache.h"

#include <algorithm>
#include <cstring>

#include "storefile.h"

namespace {

constexpr unsigned int NODES = 1000;
constexpr unsigned int RECORDS_IN_BLOCK = 16;
constexpr unsigned int BLOCK_SIZE = RECORDS_IN_BLOCK * RECORD_SIZE;

// A node's data is a block of records, and behind it a mark for each.
enum Mark : char { UNKNOWN, LOADED, CHANGED };
constexpr unsigned int NODE_SIZE = BLOCK_SIZE + RECORDS_IN_BLOCK;

// Another process may be writing a record while it is read here.
constexpr int READING_ATTEMPTS = 50;
constexpr unsigned int BETWEEN_ATTEMPTS = 2;  // Milliseconds.

unsigned int BlockOf(unsigned int number) { return (number - 1) / RECORDS_IN_BLOCK; }

struct Place {
    Place(CacheNode& node, unsigned int number)
        : record(reinterpret_cast<char*>(node.getNodeData()) +
                 (number - 1) % RECORDS_IN_BLOCK * RECORD_SIZE),
          mark(reinterpret_cast<char*>(
              node.getNodeData())[BLOCK_SIZE + (number - 1) % RECORDS_IN_BLOCK]) {}
    char* record;
    char& mark;
};

}  // namespace

RecordCache::RecordCache(BinaryFile& reader, BinaryFile* writer)
    : CacheManager(NODES, NODE_SIZE), source(reader), target(writer) {}

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
        const int got = source.readFile(number);
        if (got == 0)
            return false;
        CheckResult(got, RECORD_SIZE);
        std::memcpy(record, source.getRecordBuffer(), RECORD_SIZE);
        if (IsIntact(record))
            return true;
        BqSleep(BETWEEN_ATTEMPTS);
    }
    throw StoreError("record " + std::to_string(number) + " is damaged");
}

std::string RecordCache::Read(unsigned int number) {
    const Place place(*Fetch(BlockOf(number), false), number);
    if (place.mark == UNKNOWN && Load(number, place.record))
        place.mark = LOADED;
    return place.mark == UNKNOWN ? std::string() : std::string(place.record, RECORD_SIZE);
}

void RecordCache::Write(unsigned int number, const std::string& record) {
    const Place place(*Fetch(BlockOf(number), true), number);
    record.copy(place.record, RECORD_SIZE);
    place.mark = CHANGED;
}

// Blocks that are known only by what was written would else be found again, by the side of newer
// ones.
void RecordCache::Flush() {
    flushCache(0);
    clearCache();
}

void RecordCache::writeBackNode(CacheNode* node) {
    for (unsigned int i = 1; i <= RECORDS_IN_BLOCK; ++i) {
        const unsigned int number = node->getNodeID() * RECORDS_IN_BLOCK + i;
        const Place place(*node, number);
        if (place.mark != CHANGED)
            continue;
        // A number behind the last one that the file knows of would add a record.
        if (number > target->getRecordCount())
            CheckResult(Persist([&] { return target->readFile(number); }), RECORD_SIZE);
        std::memcpy(target->getRecordBuffer(), place.record, RECORD_SIZE);
        CheckResult(Persist([&] { return target->writeFile(number); }), RECORD_SIZE);
        place.mark = LOADED;
    }
}
