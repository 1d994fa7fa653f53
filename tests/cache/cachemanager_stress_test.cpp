#include "tests/cache/model.h"
#include "tests/support/thread_state.h"

TEST(CacheStress, AgreesWithTheModelInConstantMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr int STEPS = 30000, ROOM = 16 << 10;  // They are slow, and keep memory of their own.
#else
    constexpr int STEPS = 1000000, ROOM = 1 << 10;
#endif
    Driver driver(5000, 7000, 10000);
    long early = 0;
    for (int i = 0; i < STEPS; ++i) {
        ASSERT_TRUE(driver.Step() && (i % 5000 != 0 || driver.AllIsSame())) << "step " << i;
        if (i == STEPS / 10)
            early = StatusOf("VmRSS");
    }
    EXPECT_LT(StatusOf("VmRSS"), early + ROOM);
}
