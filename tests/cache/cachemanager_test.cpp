#include <array>
#include <atomic>
#include <cstdlib>
#include <new>
#include <sstream>

#include "tests/cache/model.h"
#include "tests/support/eventually.h"
#include "tests/support/thread_state.h"
#include "utilities/locks/mutexlist.h"
#include "utilities/threads/threadutils.h"

namespace {
int blocksLeft = 1000000;
}

// Blocks come from here.
[[gnu::noinline]] void* operator new[](std::size_t size) {
    if (blocksLeft-- <= 0)
        throw std::bad_alloc();
    return std::malloc(size);
}
[[gnu::noinline]] void operator delete[](void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete[](void* block, std::size_t) noexcept { std::free(block); }

TEST(CacheManager, AgreesWithTheModelAfterEachStep) {
    // The last four requests wrap to caches of no, one, two and five nodes.
    const std::array<unsigned int, 2> ROWS[] = {{0, 3},          {0, 40},         {4, 30},
                                                {4, 60},         {100, 200},      {0xFFFFFFEC, 4},
                                                {0xFFFFFFED, 5}, {0xFFFFFFEE, 6}, {0xFFFFFFF1, 9}};
    for (const auto& [requested, idCount] : ROWS) {
        Driver driver(requested, idCount, 700);
        for (int i = 0; i < 20000; ++i)
            ASSERT_TRUE(driver.Step() && driver.AllIsSame()) << requested << ", step " << i;
    }
}

TEST(CacheManager, SizesByItsRule) {
    const std::array<unsigned int, 3> ROWS[] = {
        {0, 3, 3},           {3, 3, 3},           {4, 24, 23},      {100, 120, 23},
        {4979, 4999, 23},    {4980, 5000, 23},    {4981, 5000, 23}, {0xFFFFFFEB, 5000, 23},
        {0xFFFFFFEC, 0, 23}, {0xFFFFFFFF, 19, 23}};
    for (const auto& [requested, amount, amountWithoutRequest] : ROWS) {
        TestCache cache(requested);
        EXPECT_EQ(cache.getAllocatedNodes(), amount) << requested;
        EXPECT_EQ(cache.writeCache.size(), amount) << requested;
        EXPECT_EQ(cache.readCache.size(), amount / 2) << requested;
        EXPECT_EQ(cache.searchNodeID_InWC(NO_ID), nullptr) << requested;
        EXPECT_EQ(cache.searchNodeID_InRC(NO_ID) != nullptr, amount > 1) << requested;
        cache.useRequestedAmount = false;
        EXPECT_EQ(cache.determineNodesAmount(requested), amountWithoutRequest) << requested;
    }
    TestCache cache(0);
    for (const auto& [count, amount] : {std::pair(39u, 3u), {40, 24}, {1000, 120}, {49800, 5000}}) {
        cache.resizeCache(count);
        EXPECT_EQ(cache.getAllocatedNodes(), amount) << count;
    }
}

TEST(CacheManager, FollowsWhatIsDoneToItsLists) {
    TestCache cache(0);
    CacheNode* const older = cache.addNodeID_ToWC(7);
    cache.addNodeID_ToWC(8);
    older->setNodeID(8);  // Twice: the one nearer to the end is found.
    EXPECT_NE(cache.searchNodeID_InWC(8), older);
    cache.writeCache.reverse();
    EXPECT_EQ(cache.searchNodeID_InWC(8), older);
    cache.writeCache.splice(cache.writeCache.begin(), cache.readCache);
    const CacheNode* const added[] = {cache.addNodeID_ToRC(9), cache.addNodeID_ToWC(6)};
    EXPECT_EQ(added[0], &cache.readCache.back());
    EXPECT_EQ(added[1], &cache.writeCache.back());
    EXPECT_EQ(cache.searchNodeID_InWC(6), added[1]);
}

TEST(CacheManager, LosesNothingWithoutMemory) {
    TestCache cache(4);
    cache.addNodeID_ToWC(7)->setNodeState(1);
    for (blocksLeft = 0; blocksLeft < 1000000;) {
        const int blocks = blocksLeft;
        EXPECT_THROW(cache.resizeCache(1000), std::bad_alloc) << blocks;
        blocksLeft = blocks == 143 ? 1000000 : blocks + 1;  // 96 and 48 are missing.
        EXPECT_EQ(cache.writeCache.size() + cache.readCache.size(), 24u + 12u) << blocks;
    }
    EXPECT_EQ(cache.getAllocatedNodes(), 24u);
    blocksLeft = 0;
    cache.searchNodeID_InRC(7);
    cache.flushCache(0);
    cache.clearCache();
    EXPECT_EQ(blocksLeft, 0) << "only a resize allocates";
    blocksLeft = 1000000;
}

TEST(CacheNode, OwnsItsBlock) {
    CacheNode source(3), target(3);
    std::memcpy(source.getNodeData(), "abc", 3);
    source.setNodeID(5);
    source.setNodeState(-1);
    const CacheNode copy(source);
    const unsigned char* const block = target.getNodeData();
    target = source;
    source = CacheNode();
    EXPECT_EQ(target.getNodeData(), block);
    for (const CacheNode* const node : {&copy, const_cast<const CacheNode*>(&target)}) {
        EXPECT_EQ(std::memcmp(node->getNodeData(), "abc", 3), 0);
        EXPECT_EQ(node->getNodeID(), 5u);
        EXPECT_EQ(node->getNodeState(), -1);
    }
    EXPECT_EQ(source.getNodeDataSize(), 0u);
    EXPECT_EQ(source.getNodeID(), CacheNode::getDefaultNodeID());
    EXPECT_NE(CacheNode().getNodeData(), nullptr);
}

TEST(CacheManager, IsWholeWhenAMovingThreadIsKilled) {
    static TestCache* cache = nullptr;
    static std::atomic<std::uint32_t> writes, reads;
    TestCache moved(0);
    cache = &moved;
    moved.addNodeID_ToWC(1);
    moved.addNodeID_ToWC(2);
    for (int round = 0; round < 20; ++round) {
        writes = reads = 0;
        SystemThread mover("mover", [](SystemThread*) -> unsigned int {
            for (unsigned int id = 1;; id = 3 - id, ++writes) {
                cache->searchNodeID_InRC(id);
                ++reads;
                cache->searchNodeID_InWC(id);
            }
        });
        ASSERT_TRUE(mover.Create(false, 0));
        ASSERT_TRUE(Eventually([] { return writes > 100; }));
        moved.mruLock.Lock();
        ASSERT_TRUE(FallsAsleep(mover.getThreadId())) << "a move in the write cache takes the lock";
        ASSERT_EQ(reads, writes + 1) << "one in the read cache does not";
        moved.mruLock.Unlock();
        ASSERT_TRUE(mover.Terminate(0));
        ASSERT_TRUE(moved.mruLock.TryLock(0));
        moved.mruLock.Unlock();
        ASSERT_EQ(std::distance(moved.writeCache.rbegin(), moved.writeCache.rend()), 3);
    }
    std::ostringstream list;
    showMutexList(list, true);
    EXPECT_NE(list.str().find("CM_MRU_CTL\t"), std::string::npos);
}
