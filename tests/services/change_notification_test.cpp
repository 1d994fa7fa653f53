#include "utilities/services/change_notification.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <vector>

#include "utilities/services/container_ids.h"

namespace {

class Receiver : public ChangeReceiver {
public:
    using ChangeReceiver::OnChange;
    void OnChange(ChangeInfo2*) override { ++told; }
    bool lock() const override { return false; }
    int told = 0;
};

TEST(ChangeReceiver, DefaultsDoNothingAndOverridesAreCalled) {
    ChangeReceiver plain, other(plain);
    plain = other;
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(plain.unlock() && plain.lock() && plain.lock());
    plain.OnChange(static_cast<ChangeInfo1*>(nullptr));

    Receiver receiver;
    ChangeReceiver& base = receiver;
    base.OnChange(static_cast<ChangeInfo1*>(nullptr));
    base.OnChange(static_cast<ChangeInfo2*>(nullptr));
    EXPECT_EQ(receiver.told, 1);
    EXPECT_FALSE(base.lock());
    base = plain;
    EXPECT_EQ(receiver.told, 1);
}

// The slots: two changes, two of the destructor, lock and unlock.
TEST(ChangeReceiver, HasItsOperationsInTheirSlots) {
    const auto slot = [](auto operation) {
        std::ptrdiff_t offset;
        std::memcpy(&offset, &operation, sizeof offset);
        return (offset - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
    };
    using Told = void (ChangeReceiver::*)(ChangeInfo2*);
    EXPECT_EQ(slot(static_cast<Told>(&ChangeReceiver::OnChange)), 1);
    EXPECT_EQ(slot(&ChangeReceiver::lock), 4);
    EXPECT_EQ(slot(&ChangeReceiver::unlock), 5);
}

TEST(ContainerIds, AreWalkedRunByRun) {
    std::vector<int> walked;
    for (auto id = CONTAINERINFO_BASIC_FIRST; id <= CONTAINERINFO_20_LAST; ++id)
        walked.push_back(id);
    EXPECT_EQ(walked, (std::vector<int>{0, 1, 2, 3, 4, 5, 10, 11, 12, 13, 14, 20, 21, 22, 23}));
    const struct {
        int before, after;
    } steps[] = {{23, 24}, {7, 8}, {9, 10}, {19, 20}, {-1, 0}, {2147483647, -2147483647 - 1}};
    for (const auto& step : steps) {
        auto id = static_cast<E_CONTAINERINFO_ID>(step.before);
        EXPECT_EQ(&++id, &id);
        EXPECT_EQ(id, step.after);
    }
    const struct {
        int container, last;
    } rows[] = {{0, 5}, {10, 14}, {20, 23}, {5, 5}, {-1, 5}, {30, 5}};
    for (const auto& row : rows)
        EXPECT_EQ(getLastCntrInfoID(static_cast<E_CONTAINERID>(row.container)), row.last);
}

}  // namespace
