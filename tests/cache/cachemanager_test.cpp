#include "utilities/cache/cachemanager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <utility>

#include "tests/support/eventually.h"
#include "tests/support/thread_state.h"
#include "utilities/locks/mutexlist.h"
#include "utilities/threads/threadutils.h"

namespace {

using Nodes = std::list<CacheNode>;

/// The ids of nodes, with their data and states unless these are 0; "- " for a run of free nodes.
std::string Text(const Nodes& nodes) {
    std::string text;
    for (const CacheNode& node : nodes) {
        const bool isFree = node.getNodeID() == CacheNode::getDefaultNodeID();
        const int data = isFree ? 0 : *node.getNodeData(), state = node.getNodeState();
        if (isFree && state == 0 && text.ends_with("- "))
            continue;
        text += (isFree ? "-" : std::to_string(node.getNodeID())) +
                (data != 0 ? "=" + std::to_string(data) : "") +
                (state != 0 ? "*" + std::to_string(state) : "") + " ";
    }
    return text;
}

/// A cache that records the nodes that were written back and makes the protected members public.
struct TestCache : CacheManager {
    explicit TestCache(unsigned int requested) : CacheManager(requested, 1) {
        for (Nodes* const nodes : {&writeCache, &readCache})
            std::ranges::for_each(*nodes, [](CacheNode& node) { *node.getNodeData() = 0; });
    }
    void writeBackNode(CacheNode* node) override { written += Text(Nodes(1, *node)); }

    using CacheManager::determineNodesAmount, CacheManager::freeNodes, CacheManager::maxNodeID,
        CacheManager::minNodeID, CacheManager::mruLock, CacheManager::readCache,
        CacheManager::useRequestedAmount, CacheManager::writeCache;
    std::string written;
};

CacheNode* First(Nodes& nodes, auto ask, auto answer) {
    const auto found = std::ranges::find(nodes, answer, ask);
    return found != nodes.end() ? &*found : nullptr;
}

CacheNode* Last(Nodes& nodes, unsigned int id) {
    const auto found = std::ranges::find(nodes.rbegin(), nodes.rend(), id, &CacheNode::getNodeID);
    return found != nodes.rend() ? &*found : nullptr;
}

/// What a `TestCache` must do, with a walk for each find.
struct Model {
    explicit Model(unsigned int requested) { Resize(requested); }

    static CacheNode* Use(Nodes& nodes, CacheNode* used) {
        const auto node = std::ranges::find(nodes, used, [](CacheNode& one) { return &one; });
        if (used != nullptr && used->getNodeID() != nodes.back().getNodeID())
            nodes.splice(nodes.end(), nodes, node);
        return used;
    }
    static CacheNode* Take(Nodes& nodes, CacheNode* clean, unsigned int id) {
        CacheNode* const taken = clean != nullptr ? clean : &nodes.front();
        taken->setNodeID(id);
        return Use(nodes, taken);
    }
    CacheNode* LastInRange(unsigned int id) {
        return id >= minNodeID && id <= maxNodeID ? Last(writeCache, id) : nullptr;
    }
    CacheNode* addNodeID_ToWC(unsigned int id) {
        CacheNode* const clean = First(writeCache, &CacheNode::getNodeState, 0);
        if (clean == nullptr)
            flushCache(1);
        maxNodeID = std::max(maxNodeID, id);
        minNodeID = std::min(minNodeID, id);
        return Take(writeCache, clean, id);
    }
    CacheNode* addNodeID_ToRC(unsigned int id) {
        return Take(readCache, First(readCache, &CacheNode::getNodeState, 0), id);
    }
    CacheNode* searchNodeID_InWC(unsigned int id) { return Use(writeCache, LastInRange(id)); }
    CacheNode* searchNodeID_InRC(unsigned int id) {
        CacheNode* const source = LastInRange(id);
        if (source == nullptr)
            return Use(readCache, Last(readCache, id));
        CacheNode* copy = Use(readCache, First(readCache, &CacheNode::getNodeID, id));
        copy = copy != nullptr ? copy : addNodeID_ToRC(id);
        *copy->getNodeData() = *source->getNodeData();
        copy->setNodeState(1);
        return source;
    }
    void flushCache(unsigned char) {
        for (CacheNode* node; (node = First(writeCache, &CacheNode::getNodeState, 1));
             ++freeNodes) {
            written += Text(Nodes(1, *node));
            node->setNodeState(0);
        }
        Empty(readCache);
    }
    void clearCache() {
        Empty(writeCache);
        Empty(readCache);
        freeNodes = amount;
    }
    void Empty(Nodes& nodes) {
        std::ranges::fill(nodes, CacheNode(1));
        maxNodeID = 0;
        minNodeID = 0xFFFFFFFF;
    }
    void resizeCache(unsigned int count) { Resize(count / 10); }
    void Resize(unsigned int requested) {
        const unsigned int before = std::exchange(amount, requested < 4 ? 3 : requested + 20);
        if (amount < before)
            flushCache(2);
        freeNodes = amount < before ? amount : freeNodes + amount - before;
        writeCache.resize(amount, CacheNode(1));
        readCache.resize(amount / 2, CacheNode(1));
    }

    unsigned int amount = 0, freeNodes = 0, maxNodeID = 0, minNodeID = 0xFFFFFFFF;
    Nodes writeCache, readCache;
    std::string written;
};

/// Runs steps of a letter and a number on a cache; '#', '=' and '*' change the node that was
/// returned last, 'm' moves nodes between the lists as a derived class can. Returns what was
/// written back, with '!' for each miss, both lists, the range of ids and the number of free nodes.
template <class Cache>
std::string Result(unsigned int requested, const std::string& script) {
    Cache cache(requested);
    Nodes &changed = cache.writeCache, &copies = cache.readCache;
    CacheNode* node = nullptr;
    using Number = unsigned int;
    const std::map<char, std::function<void(Number)>> steps = {
        {'w', [&](Number id) { node = cache.addNodeID_ToWC(id); }},
        {'r', [&](Number id) { node = cache.addNodeID_ToRC(id); }},
        {'s', [&](Number id) { node = cache.searchNodeID_InWC(id); }},
        {'q', [&](Number id) { node = cache.searchNodeID_InRC(id); }},
        {'#', [&](Number id) { node->setNodeID(id); }},
        {'=', [&](Number data) { *node->getNodeData() = static_cast<unsigned char>(data); }},
        {'*', [&](Number state) { node->setNodeState(static_cast<int>(state)); }},
        {'F', [&](Number reason) { cache.flushCache(static_cast<unsigned char>(reason)); }},
        {'C', [&](Number) { cache.clearCache(); }},
        {'R', [&](Number count) { cache.resizeCache(count); }},
        {'m', [&](Number count) {
             const auto size = static_cast<std::ptrdiff_t>(copies.size());
             const auto end = std::next(copies.begin(), std::min<std::ptrdiff_t>(count, size - 1));
             changed.splice(changed.begin(), copies, copies.begin(), end);
         }}};
    std::istringstream in(script);
    char step = 0;
    for (Number number = 0; in >> step >> number;) {
        if (node != nullptr || std::string("#=*").find(step) == std::string::npos)
            steps.at(step)(number);
        cache.written += (step == 's' || step == 'q') && node == nullptr ? "! " : "";
        node = std::string("FCR").find(step) == std::string::npos ? node : nullptr;
    }
    return cache.written + "| " + Text(changed) + "| " + Text(copies) + "| " +
           std::to_string(cache.minNodeID) + "-" + std::to_string(cache.maxNodeID) + " " +
           std::to_string(cache.freeNodes);
}

TEST(CacheManager, AddsFindsMovesAndForgets) {
    constexpr unsigned int ONE = 0xFFFFFFED, TWO = ONE + 1, FIVE = TWO + 3;  // 20 more wrap.
    const struct {
        unsigned int requested;
        const char *script, *result;
    } CASES[] = {
        {0, "w1 =5 *1 w2 *1 q2 w3 *1 w4", "1=5*1 2*1 3*1 | 2 3 4=5 | - | 4-4 6"},
        {0, "w1 w2 w3 s1 =6 s2 s2 s4 s0", "! ! | 3 1=6 2 | - | 1-3 3"},
        {0, "s4294967295 q4294967295 =3 q1", "! ! | - | - | 4294967295-0 3"},
        {0, "r7 =4 *1 s7 q7 r8 =5 q4294967295", "! ! | - | 8=5*1 | 4294967295-0 3"},
        {0, "w1 *1 q1 C0 s1", "! | - | - | 4294967295-0 3"},
        {0, "w1 *1 q1 R39", "| - 1*1 | 1*1 | 1-1 3"},
        {FIVE, "w1 =5 w2 q1 *1 q2 q1 =6 q1 w3 q3", "| - 1=6*1 2 3 | 1=6*1 3*1 | 1-3 5"},
        {FIVE, "w1 w2 w3 w4 *1 w5 *2 r6 R0", "4*1 | 1 2 3 | - | 4294967295-0 3"},
        {ONE, "w1 *1 q1 r2 w2 r3 w3", "1*1 | 3 | 3 | 2-3 2"},
        {ONE - 1, "w1 =5 *1 q1 r2 w2 q2", "1=5*1 | 2=5 | 2=5*1 | 2-2 1"},
        {TWO, "w1 w2 w3 q2", "| 2 3 | 2*1 | 1-3 2"},
    };
    for (const auto& row : CASES)
        EXPECT_EQ(Result<TestCache>(row.requested, row.script), row.result) << row.script;
}

TEST(CacheManager, SizesByItsRule) {
    const std::pair<unsigned int, unsigned int> ROWS[] = {
        {3, 3}, {4, 24}, {4980, 5000}, {4981, 5000}, {0xFFFFFFEC, 0}, {0xFFFFFFFF, 19}};
    for (const auto& [requested, amount] : ROWS) {
        TestCache cache(requested);
        EXPECT_EQ(cache.writeCache.size(), amount) << requested;
        EXPECT_EQ(cache.readCache.size(), amount / 2) << requested;
        cache.resizeCache(49);
        EXPECT_EQ(cache.getAllocatedNodes(), 24u) << requested;
        cache.useRequestedAmount = false;
        EXPECT_EQ(cache.determineNodesAmount(requested), requested == 3 ? 3u : 23u) << requested;
    }
}

TEST(CacheNode, OwnsItsBlock) {
    CacheNode source(2), target(2);
    source.setNodeID(5);
    source.setNodeState(-1);
    std::copy_n("=c", 2, source.getNodeData());
    const CacheNode copy(source);
    target = source;
    source = CacheNode();
    EXPECT_EQ(source.getNodeDataSize(), 0u);
    for (const CacheNode* const node : {&copy, &std::as_const(target)})
        EXPECT_EQ(Text(Nodes(1, *node)) + char(node->getNodeData()[1]), "5=61*-1 c");
}

TEST(CacheManager, FindsTheNodesThatAWalkWould) {
    std::linear_congruential_engine<std::uint32_t, 48271, 0, 2147483647> random(1);
    const auto any = [&](auto count) { return static_cast<unsigned int>(random()) % count; };
    for (int i = 0; i < 3000; ++i) {
        const unsigned int requested = std::array{0u, 4u, 0xFFFFFFEEu, 0xFFFFFFF5u}[any(4u)];
        const std::string steps = "wwwrrssssqqqq##" + std::string(any(16u), '*') + "mFCR";
        std::ostringstream script;
        for (unsigned int step = any(200u); step > 0; --step) {
            const char letter = steps[any(steps.size() - (any(3u) != 0 ? 4 : 0))];
            script << letter << any(letter == '*' ? 3u : letter == 'R' ? 90u : 12u) << ' ';
            if (letter == 'w' || letter == 'r')
                script << '=' << any(250u) << ' ';
        }
        ASSERT_EQ(Result<TestCache>(requested, script.str()),
                  Result<Model>(requested, script.str()))
            << requested << ": " << script.str();
    }
}

TEST(CacheManager, IsWholeWhenAThreadIsKilledInIt) {
    static TestCache cache(4);
    static std::atomic<int> uses;
    for (int round = 0; round < 60; ++round) {
        SystemThread user("user", [](SystemThread*) -> unsigned int {
            std::minstd_rand random;
            for (;; ++uses) {
                const auto id = static_cast<unsigned int>(random() % 40);
                CacheNode* node = cache.searchNodeID_InWC(id);
                node = node != nullptr ? node : cache.addNodeID_ToWC(id);
                node->setNodeState(id % 8 == 0);
                node = cache.searchNodeID_InRC(40 + id);
                node = node != nullptr ? node : cache.addNodeID_ToRC(40 + id);
                node->setNodeState(1);
                cache.searchNodeID_InRC(id);
            }
        });
        uses = 0;
        ASSERT_TRUE(user.Create(false, 0));
        ASSERT_TRUE(Eventually([] { return uses > 100; }));
        if (round % 2 == 0) {
            cache.mruLock.Lock();
            ASSERT_TRUE(FallsAsleep(user.getThreadId())) << "a move takes the lock";
            cache.mruLock.Unlock();
        }
        ASSERT_TRUE(user.Terminate(0));
        ASSERT_TRUE(cache.mruLock.TryLock(0));
        cache.mruLock.Unlock();
        ASSERT_EQ(std::distance(cache.writeCache.rbegin(), cache.writeCache.rend()), 24);
        for (unsigned int id = 0; id < 40; ++id) {
            CacheNode *const changed = Last(cache.writeCache, id), *const copy = Last(
                                                                       cache.readCache, 40 + id);
            ASSERT_EQ(cache.searchNodeID_InWC(id), changed) << round;
            ASSERT_EQ(cache.searchNodeID_InRC(40 + id), copy) << round;
        }
        CacheNode* const clean = First(cache.writeCache, &CacheNode::getNodeState, 0);
        ASSERT_TRUE(clean == nullptr || cache.addNodeID_ToWC(0) == clean);
    }
    std::ostringstream list;
    showMutexList(list, true);
    EXPECT_NE(list.str().find("CM_MRU_CTL\t"), std::string::npos);
}

}  // namespace
