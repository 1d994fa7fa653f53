#include "utilities/platform/descriptors.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include "tests/support/scratch.h"
#include "utilities/platform/filelocks.h"
#include "utilities/platform/files.h"
#include "utilities/platform/mapping.h"
#include "utilities/platform/outputfile.h"

namespace {

using namespace platform;

TEST(Descriptors, LeaveTheStandardOnesFree) {
    const ScratchDirectory scratch;
    const std::string path = scratch / "file";
    EXPECT_EQ(EndOf(StartProcess([&] {
                  close(STDIN_FILENO);
                  close(STDERR_FILENO);
                  const bool areOpen = _open(path.c_str(), _O_RDWR | _O_CREAT, 0600) >= 0 &&
                                       CreateFileA(path.c_str(), GENERIC_READ, 3, OPEN_EXISTING) !=
                                           InvalidHandleValue() &&
                                       platform::fopen(path.c_str(), "w") != nullptr &&
                                       CreateOutputFile((path + "2").c_str()) >= 0;
                  const bool areFree =
                      fcntl(STDIN_FILENO, F_GETFD) + fcntl(STDERR_FILENO, F_GETFD) == -2;
                  return areOpen && areFree ? 0 : 1;
              })),
              0);
}

TEST(Descriptors, OpenBesideAnotherProgramThatHoldsTheFile) {
    const ScratchDirectory scratch;
    WriteFile(scratch / "file", "content");
    const int foreign = open((scratch / "file").c_str(), O_RDONLY);
    ASSERT_EQ(flock(foreign, LOCK_EX), 0);
    const int file = _sopen((scratch / "file").c_str(), _O_RDWR, _SH_DENYWR, 0);
    EXPECT_GE(file, 0);
    EXPECT_EQ(_close(file), 0);
    close(foreign);
}

}  // namespace
