#include "utilities/cache/cachemanager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <map>
#include <random>
#include <ranges>
#include <sstream>
#include <string>
#include <utility>

#include "tests/support/eventually.h"
#include "tests/support/thread_state.h"
#include "utilities/locks/mutexlist.h"
#include "utilities/threads/threadutils.h"

namespace {

using Nodes = std::list<CacheNode>;

/// The ids of nodes, with their data and states unless those are 0. "- " for a row of free ones.
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

/// A cache that keeps what was written, and shows what is protected.
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

/// What becomes of a cache by steps of a letter and a number, of which those with '#', '=' and '*'
/// change the node that was given last: what was written, both lists, range of ids and free nodes.
/// A miss shows as '!'.
std::string Result(unsigned int requested, const std::string& script) {
    TestCache cache(requested);
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
        {'R', [&](Number count) { cache.resizeCache(count); }}};
    std::istringstream in(script);
    char step = 0;
    for (Number number = 0; in >> step >> number;) {
        steps.at(step)(number);
        cache.written += (step == 's' || step == 'q') && node == nullptr ? "! " : "";
    }
    return cache.written + "| " + Text(cache.writeCache) + "| " + Text(cache.readCache) + "| " +
           std::to_string(cache.minNodeID) + "-" + std::to_string(cache.maxNodeID) + " " +
           std::to_string(cache.freeNodes);
}

TEST(CacheManager, AddsFindsMovesAndForgets) {
    constexpr unsigned int ONE = 0xFFFFFFED, TWO = ONE + 1, FIVE = TWO + 3;  // 20 more wrap.
    const struct {
        unsigned int requested;
        const char *script, *result;
    } CASES[] = {
        {0, "w1 *1 w2 w3 w4", "| 1*1 3 4 | - | 1-4 3"},
        {0, "w1 =5 *1 w2 *1 q2 w3 *1 w4", "1=5*1 2*1 3*1 | 2 3 4=5 | - | 4-4 6"},
        {0, "w1 *2 w2 *1 w3 *2 w4", "2*1 | 2 3*2 4*2 | - | 4-4 4"},
        {0, "w1 w2 w3 w3 =7 s3 =8 q3", "| 3=7 2 3=8 | 3=8*1 | 1-3 3"},
        {0, "w1 w2 w3 s1 =6 s2 s2 s4 s0", "! ! | 3 1=6 2 | - | 1-3 3"},
        {0, "w2 w5 w3 F1 w4 s3 w1 s3", "! | 4 1 3 | - | 1-4 3"},
        {0, "w1 w2 w3 s1 #9 s9 s3 #2 =7 s3 s2", "! ! | 2 9 2=7 | - | 1-3 3"},
        {0, "s4294967295 q4294967295 =3 q1", "! ! | - | - | 4294967295-0 3"},
        {0, "r7 =4 *1 s7 q7 r8 =5 q4294967295", "! ! | - | 8=5*1 | 4294967295-0 3"},
        {FIVE, "r1 *1 r2 *1 r3 r4 *0 r5", "| - | 3*1 5 | 4294967295-0 5"},
        {0, "w1 *1 q1 C0 s1", "! | - | - | 4294967295-0 3"},
        {0, "w1 *1 w2 q2 F0 q2", "1*1 ! | - 1 2 | - | 4294967295-0 4"},
        {0, "w1 *1 q1 R39", "| - 1*1 | 1*1 | 1-1 3"},
        {0, "w1 *1 F0 w2 *1 q2 R40", "1*1 | - 1 2*1 - | 2*1 - | 2-2 25"},
        {FIVE, "w1 =5 w2 q1 *1 q2 q1 =6 q1 w3 q3", "| - 1=6*1 2 3 | 1=6*1 3*1 | 1-3 5"},
        {FIVE, "r8 =1 r8 =2 q8 =3 w8 =4 q8 r9", "| - 8=4 | 8=4*1 9=3 | 8-8 5"},
        {FIVE, "r1 =1 r2 =2 q1 =3 r3", "| - | 1=3 3=2 | 4294967295-0 5"},
        {FIVE, "w1 w2 w3 w4 *1 w5 *2 r6 R0", "4*1 | 1 2 3 | - | 4294967295-0 3"},
        {ONE, "w1 *1 q1 r2 w2 r3 w3", "1*1 | 3 | 3 | 2-3 2"},
        {ONE - 1, "w1 =5 *1 q1 r2 w2 q2", "1=5*1 | 2=5 | 2=5*1 | 2-2 1"},
        {TWO, "w1 w2 w3 q2", "| 2 3 | 2*1 | 1-3 2"},
    };
    for (const auto& row : CASES)
        EXPECT_EQ(Result(row.requested, row.script), row.result) << row.script;
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

// Nodes tell by their data which ones they are.
TEST(CacheManager, FindsTheNodesThatAWalkWould) {
    std::linear_congruential_engine<std::uint32_t, 48271, 0, 2147483647> random(1);
    const auto any = [&](unsigned int count) { return random() % count; };
    const auto first = [](auto&& nodes, auto ask, auto answer) {
        const auto found = std::ranges::find(nodes, answer, ask);
        return found == std::ranges::end(nodes) ? -1 : *found->getNodeData();
    };
    TestCache cache(100);
    for (int i = 0; i < 50000; ++i) {
        const unsigned int id = any(150);
        const auto last = [&](auto& nodes) {
            return first(nodes | std::views::reverse, &CacheNode::getNodeID, id);
        };
        const bool isInRange = id >= cache.minNodeID && id <= cache.maxNodeID, reads = any(2) == 0;
        const int changed = isInRange ? last(cache.writeCache) : -1;
        const int wanted = reads && changed == -1 ? last(cache.readCache) : changed;
        const CacheNode* const found =
            reads ? cache.searchNodeID_InRC(id) : cache.searchNodeID_InWC(id);
        ASSERT_EQ(found != nullptr ? *found->getNodeData() : -1, wanted) << i;

        const int clean = first(cache.writeCache, &CacheNode::getNodeState, 0);
        CacheNode* const added = cache.addNodeID_ToWC(any(150));
        ASSERT_TRUE(clean == -1 || clean == *added->getNodeData()) << i;
        *added->getNodeData() = static_cast<unsigned char>(i);
        if (any(4) == 0)
            added->setNodeID(any(150));
        added->setNodeState(static_cast<int>(any(2)));
        if (any(1000) == 0)
            cache.resizeCache(10 * any(150));
        if (any(100) == 0 && !cache.readCache.empty())  // A derived class may move a node.
            cache.writeCache.splice(cache.writeCache.begin(), cache.readCache,
                                    cache.readCache.begin());
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

TEST(CacheManager, IsWholeWhenAMovingThreadIsKilled) {
    static TestCache cache(0);
    static std::atomic<int> moves;
    for (const unsigned int id : {1u, 2u})
        cache.addNodeID_ToWC(id);
    for (int round = 0; round < 20; ++round) {
        SystemThread mover("mover", [](SystemThread*) -> unsigned int {
            for (unsigned int id = 1;; id = 3 - id, ++moves)
                cache.searchNodeID_InWC(id);
        });
        moves = 0;
        ASSERT_TRUE(mover.Create(false, 0));
        ASSERT_TRUE(Eventually([] { return moves > 100; }));
        cache.mruLock.Lock();
        ASSERT_TRUE(FallsAsleep(mover.getThreadId())) << "a move takes the lock";
        cache.mruLock.Unlock();
        ASSERT_TRUE(mover.Terminate(0));
        ASSERT_TRUE(cache.mruLock.TryLock(0));
        cache.mruLock.Unlock();
        ASSERT_EQ(std::distance(cache.writeCache.rbegin(), cache.writeCache.rend()), 3);
    }
    std::ostringstream list;
    showMutexList(list, true);
    EXPECT_NE(list.str().find("CM_MRU_CTL\t"), std::string::npos);
}

}  // namespace
