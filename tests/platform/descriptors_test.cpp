#include "utilities/platform/descriptors.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include "tests/support/scratch.h"
#include "utilities/platform/process.h"
#include "utilities/platform/waitable.h"

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

TEST(Descriptors, OpenBesideAStrangerWhoHoldsTheFile) {
    const ScratchDirectory scratch;
    WriteFile(scratch / "file", "content");
    const int stranger = open((scratch / "file").c_str(), O_RDONLY);
    ASSERT_EQ(flock(stranger, LOCK_EX), 0);
    const int file = _sopen((scratch / "file").c_str(), _O_RDWR, _SH_DENYWR, 0);
    EXPECT_GE(file, 0);
    EXPECT_EQ(_close(file), 0);
    close(stranger);
}

TEST(Processes, ThatTheSystemHasForgottenHaveEnded) {
    Process process;
    EXPECT_EQ(WaitForSingleObject(process, INFINITE), WAIT_OBJECT_0);
    TerminateProcess(process);
    CloseHandle(process);
    EXPECT_LT(process.descriptor, 0);
}

}  // namespace
