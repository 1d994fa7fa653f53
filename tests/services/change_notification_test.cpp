#include "utilities/services/change_notification.h"

#include <gtest/gtest.h>

#include <utility>

#include "utilities/services/container_ids.h"

namespace {

TEST(ChangeReceiver, HasDefaultsThatDoNothing) {
    ChangeReceiver plain, other(plain);
    plain = other;
    EXPECT_TRUE(plain.unlock());
    EXPECT_TRUE(plain.lock());
    EXPECT_TRUE(plain.lock());
}

TEST(ContainerIds, AdvanceFromRunToRun) {
    using Step = std::pair<int, int>;
    for (const auto& [before, after] :
         {Step{0, 1}, Step{4, 5}, Step{5, 10}, Step{9, 10}, Step{14, 20}, Step{19, 20},
          Step{23, 24}, Step{7, 8}, Step{-1, 0}, Step{2147483647, -2147483647 - 1}}) {
        auto id = static_cast<E_CONTAINERINFO_ID>(before);
        EXPECT_EQ(&++id, &id);
        EXPECT_EQ(id, after);
    }
    for (const auto& [container, last] : {Step{0, 5}, {10, 14}, {20, 23}, {5, 5}, {-1, 5}, {30, 5}})
        EXPECT_EQ(getLastCntrInfoID(static_cast<E_CONTAINERID>(container)), last);
}

}  // namespace
