// With a clock in which every pause is over at once.
#include <gtest/gtest.h>

#include "tests/support/scratch.h"
#include "utilities/files/binaryfile.h"
#include "utilities/platform/clock.h"

TEST(BinaryFileWait, GivesUpAfterTenSeconds) {
    const ScratchDirectory scratch;
    WriteFile(scratch / "file", "hdr11112222");
    const auto open = [&](BinaryFile& file) {
        ASSERT_EQ(file.openFile(scratch / "file", BinaryFile::BF_EXTEND, BinaryFile::BF_DENYNO, 3),
                  0);
    };
    BinaryFile holder(4, 0), other(4, 0);
    open(holder);
    open(other);
    EXPECT_EQ(holder.readHeader(), 3);
    EXPECT_EQ(holder.readFile(2), 4);
    EXPECT_EQ(other.readFile(1), 4);

    std::uint32_t start = platform::GetTickCount();
    EXPECT_EQ(other.readFile(2), -10);
    EXPECT_NEAR(platform::GetTickCount() - start, 10000, 20);
    EXPECT_EQ(other.getLockedRecord(), 0u);
    EXPECT_EQ(other.getRecordBuffer()[0], '1');
    EXPECT_EQ(other.writeFile(2), -10);
    EXPECT_EQ(other.readHeader(), -9);
    EXPECT_EQ(other.writeHeader(), -9);

    // What can't succeed isn't waited for.
    other.closeFile();
    start = platform::GetTickCount();
    EXPECT_EQ(other.writeFile(1), -10);
    EXPECT_EQ(platform::GetTickCount(), start);
}
