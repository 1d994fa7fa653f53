#include "utilities/platform/descriptors.h"

#include <gtest/gtest.h>

#include "tests/support/scratch.h"

namespace {

using namespace platform;

TEST(Descriptors, RefuseWhatIsTooLongOrNotOpen) {
    const ScratchDirectory scratch;
    const int file = _open((scratch / "file").c_str(), _O_RDWR | _O_CREAT, 0600);
    ASSERT_GE(file, 0);
    char byte = 0;
    EXPECT_EQ(ReadAt(file, &byte, 0x80000000, 0), -1);
    EXPECT_EQ(WriteAt(file, &byte, 0x80000000, 0), -1);
    EXPECT_EQ(GetLength(file), 0);
    EXPECT_EQ(_locking(file, _LK_LOCK, 0, 0), 0);
    EXPECT_EQ(_close(file), 0);
    EXPECT_EQ(_close(file), -1);
    EXPECT_EQ(_locking(file, _LK_LOCK, 0, 0), -1);
    EXPECT_EQ(_locking(file, _LK_LOCK, 1, 0), -1);
    EXPECT_EQ(GetLength(file), -1);
}

}  // namespace
