// A cache of 1000 blocks of 4 KiB in front of a store: look-ups of which nine in ten ask for one of
// a few blocks, some of them much more often than others, and a miss brings a block in; and a cache
// to which new blocks are added all the time, each tenth of which is changed and has to stay until
// all are written back. The first bytes of a block stand for its content, so that what is measured
// is the cache and not the copying.
#include <benchmark/benchmark.h>
#ifdef UTILITIES_HAS_POCO
#include <Poco/LRUCache.h>
#endif
#ifdef UTILITIES_HAS_QT
#include <QCache>
#endif

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <list>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "utilities/cache/cachemanager.h"

namespace {

constexpr unsigned int NODE_COUNT = 1000;
constexpr unsigned int BLOCK_SIZE = 4096;
constexpr std::size_t LOOKUP_COUNT = 1 << 16;

struct Block {
    explicit Block(unsigned int id) { std::memcpy(bytes, &id, sizeof id); }  // the rest as it is
    unsigned char bytes[BLOCK_SIZE];
};

std::vector<unsigned int> Lookups() {
    constexpr unsigned int HOT_COUNT = 600;
    std::mt19937 random(1);
    std::uniform_real_distribution<double> share(0, 1);
    std::vector<unsigned int> ids(LOOKUP_COUNT);
    unsigned int cold = HOT_COUNT;
    for (unsigned int& id : ids) {
        const double place = share(random);
        id = share(random) < 0.92 ? static_cast<unsigned int>(HOT_COUNT * place * place) : cold++;
    }
    return ids;
}

// Two nodes are made for each of one that is asked for the read cache; the write cache has the
// number that is wanted, and all its nodes stay clean.
class OwnWriteCache : public CacheManager {
public:
    explicit OwnWriteCache(unsigned int count = NODE_COUNT)
        : CacheManager(count - 20, BLOCK_SIZE) {}
    void writeBackNode(CacheNode*) override {}
    const unsigned char* Find(unsigned int id) {
        const CacheNode* const node = searchNodeID_InWC(id);
        return node != nullptr ? node->getNodeData() : nullptr;
    }
    void Add(unsigned int id, bool isChanged = false) {
        CacheNode* const node = addNodeID_ToWC(id);
        std::memcpy(node->getNodeData(), &id, sizeof id);
        if (isChanged)
            node->setNodeState(1);
    }
};

class OwnReadCache : public CacheManager {
public:
    OwnReadCache() : CacheManager(2 * NODE_COUNT - 20, BLOCK_SIZE) {}
    void writeBackNode(CacheNode*) override {}
    const unsigned char* Find(unsigned int id) {
        const CacheNode* const node = searchNodeID_InRC(id);
        return node != nullptr ? node->getNodeData() : nullptr;
    }
    void Add(unsigned int id) {
        CacheNode* const node = addNodeID_ToRC(id);
        std::memcpy(node->getNodeData(), &id, sizeof id);
        node->setNodeState(1);
    }
};

class ListAndHash {
public:
    explicit ListAndHash(std::size_t count = NODE_COUNT) : m_Count(count) {}
    const unsigned char* Find(unsigned int id) {
        const auto found = m_Places.find(id);
        if (found == m_Places.end())
            return nullptr;
        m_Blocks.splice(m_Blocks.end(), m_Blocks, found->second);
        return found->second->second.bytes;
    }
    void Add(unsigned int id, bool = false) {
        if (m_Blocks.size() == m_Count) {
            m_Places.erase(m_Blocks.front().first);
            m_Blocks.pop_front();
        }
        m_Blocks.emplace_back(id, id);
        m_Places[id] = std::prev(m_Blocks.end());
    }

private:
    std::size_t m_Count;
    std::list<std::pair<unsigned int, Block>> m_Blocks;
    std::unordered_map<unsigned int, std::list<std::pair<unsigned int, Block>>::iterator> m_Places;
};

// As the write cache, whose moves take a lock that is recursive.
class LockedListAndHash : public ListAndHash {
public:
    const unsigned char* Find(unsigned int id) {
        const std::lock_guard<std::recursive_mutex> lock(m_Mutex);
        return ListAndHash::Find(id);
    }

private:
    std::recursive_mutex m_Mutex;
};

#ifdef UTILITIES_HAS_POCO
class PocoCache {
public:
    const unsigned char* Find(unsigned int id) {
        m_Last = m_Cache.get(id);
        return m_Last.isNull() ? nullptr : m_Last->bytes;
    }
    void Add(unsigned int id) { m_Cache.add(id, Poco::SharedPtr<Block>(new Block(id))); }

private:
    Poco::LRUCache<unsigned int, Block> m_Cache{NODE_COUNT};
    Poco::SharedPtr<Block> m_Last;
};
#endif

#ifdef UTILITIES_HAS_QT
class QtCache {
public:
    const unsigned char* Find(unsigned int id) {
        const Block* const block = m_Cache.object(id);
        return block != nullptr ? block->bytes : nullptr;
    }
    void Add(unsigned int id) { m_Cache.insert(id, new Block(id)); }

private:
    QCache<unsigned int, Block> m_Cache{NODE_COUNT};
};
#endif

template <class Cache>
void SkewedLookups(benchmark::State& state) {
    const std::vector<unsigned int> ids = Lookups();
    const auto cache = std::make_unique<Cache>();
    std::size_t hits = 0, next = 0;
    for (auto _ : state) {
        const unsigned int id = ids[next++ % LOOKUP_COUNT];
        const unsigned char* const data = cache->Find(id);
        if (data == nullptr)
            cache->Add(id);
        else
            hits += std::memcmp(data, &id, sizeof id) == 0;
    }
    state.counters["hits"] = static_cast<double>(hits) / static_cast<double>(next);
}

template <class Cache>
void MeasureAdds(const std::string& peer) {
    for (const unsigned int count : {1000u, 4980u}) {
        const std::string row = "Cache/added to " + std::to_string(count) + ", a tenth changed/";
        benchmark::RegisterBenchmark((row + peer).c_str(), [count](benchmark::State& state) {
            const auto cache = std::make_unique<Cache>(count);
            unsigned int id = 0;
            for (auto _ : state) {
                cache->Add(id, id % 10 == 0);
                ++id;
            }
        });
    }
}

/// The peers have one tier only, and stand beside both of ours.
template <class OwnCache>
void Measure(const std::string& tier) {
    const auto measure = [&](const char* peer, auto lookups) {
        benchmark::RegisterBenchmark(("Cache/" + tier + "/" + peer).c_str(), lookups);
    };
    measure("Utilities", SkewedLookups<OwnCache>);
    measure("std list and hash", SkewedLookups<ListAndHash>);
    measure("std with a lock", SkewedLookups<LockedListAndHash>);
#ifdef UTILITIES_HAS_POCO
    measure("Poco", SkewedLookups<PocoCache>);
#endif
#ifdef UTILITIES_HAS_QT
    measure("Qt", SkewedLookups<QtCache>);
#endif
}

const bool REGISTERED = [] {
    Measure<OwnWriteCache>("write cache");
    Measure<OwnReadCache>("read cache");
    MeasureAdds<OwnWriteCache>("Utilities");
    MeasureAdds<ListAndHash>("std list and hash");  // Knows of no changes.
    return true;
}();

}  // namespace
