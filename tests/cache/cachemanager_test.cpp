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
    const std::pair<unsigned int, unsigned int> ROWS[] = {
        {0, 40},         {4, 30},         {100, 200},     {0xFFFFFFEC, 4},
        {0xFFFFFFED, 5}, {0xFFFFFFEE, 6}, {0xFFFFFFF1, 9}};
    for (const auto& [requested, idCount] : ROWS) {
        Driver driver(requested, idCount, 700);
        for (int i = 0; i < 20000; ++i)
            ASSERT_TRUE(driver.Step() && driver.AllIsSame()) << requested << ", step " << i;
    }
}

TEST(CacheManager, SizesByItsRule) {
    const std::array<unsigned int, 3> ROWS[] = {{3, 3, 3},           {4, 24, 23},
                                                {4980, 5000, 23},    {4981, 5000, 23},
                                                {0xFFFFFFEC, 0, 23}, {0xFFFFFFFF, 19, 23}};
    for (const auto& [requested, amount, amountWithoutRequest] : ROWS) {
        TestCache cache(requested);
        EXPECT_EQ(cache.getAllocatedNodes(), amount) << requested;
        EXPECT_EQ(cache.writeCache.size(), amount) << requested;
        cache.useRequestedAmount = false;
        EXPECT_EQ(cache.determineNodesAmount(requested), amountWithoutRequest) << requested;
        cache.useRequestedAmount = true;
        cache.resizeCache(49);
        EXPECT_EQ(cache.getAllocatedNodes(), 24u) << requested;
    }
}

TEST(CacheManager, FollowsWhatIsDoneToItsLists) {
    TestCache cache(0);
    CacheNode* const older = cache.addNodeID_ToWC(7);
    cache.addNodeID_ToWC(8);
    older->setNodeID(8);
    cache.writeCache.reverse();
    EXPECT_EQ(cache.searchNodeID_InWC(8), older) << "the one nearer to the end";
    cache.writeCache.splice(cache.writeCache.begin(), cache.readCache);
    const CacheNode* const added[] = {cache.addNodeID_ToRC(9), cache.addNodeID_ToWC(6)};
    EXPECT_EQ(added[0], &cache.readCache.back());
    EXPECT_EQ(added[1], &cache.writeCache.back());
    EXPECT_EQ(cache.searchNodeID_InWC(6), added[1]);
}

TEST(CacheManager, LosesNothingWithoutMemory) {
    TestCache cache(4);
    cache.addNodeID_ToWC(7)->setNodeState(1);
    for (const int blocks : {0, 1, 95, 96, 143}) {  // 96 and 48 are missing.
        blocksLeft = blocks;
        EXPECT_THROW(cache.resizeCache(1000), std::bad_alloc) << blocks;
        blocksLeft = 1000000;
        EXPECT_EQ(cache.writeCache.size() + cache.readCache.size(), 24u + 12u) << blocks;
    }
    EXPECT_EQ(cache.getAllocatedNodes(), 24u);
}

TEST(CacheNode, OwnsItsBlock) {
    CacheNode source(3), target(3);
    std::memcpy(source.getNodeData(), "abc", 3);
    source.setNodeID(5);
    source.setNodeState(-1);
    const CacheNode copy(source);
    target = source;
    source = CacheNode();
    EXPECT_EQ(source.getNodeDataSize(), 0u);
    for (const CacheNode* const node : {&copy, &std::as_const(target)}) {
        EXPECT_EQ(std::memcmp(node->getNodeData(), "abc", 3), 0);
        EXPECT_EQ(std::pair(node->getNodeID(), node->getNodeState()), std::pair(5u, -1));
    }
}

TEST(CacheManager, IsWholeWhenAMovingThreadIsKilled) {
    static TestCache* cache = nullptr;
    static std::atomic<std::uint32_t> writes, reads;
    TestCache moved(0);
    cache = &moved;
    moved.addNodeID_ToWC(1), moved.addNodeID_ToWC(2);
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
