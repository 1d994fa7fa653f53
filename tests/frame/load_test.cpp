#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>

#include <chrono>

#include "tests/support/scratch.h"
#include "utilities/serial/ccomm.h"

// This program links no part of the library.
TEST(Load, AgainAndAgainLeadsToADebugLineThatTellsWhetherTheTextFits) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const auto start = std::chrono::steady_clock::now();
    for (int round = 0; round < 50; ++round) {
        void* const library = dlopen(UTILITIES_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        using DebugLine = int (*)(const char*, ...);
        const auto print = reinterpret_cast<DebugLine>(dlsym(library, "printFmtDBGFile"));
        ASSERT_NE(print, nullptr) << "exported under its plain name";
        for (const int length : {0, 1, 1024, 1025, 100000})
            EXPECT_EQ(print("%*s", length, ""), length > 1024 ? 0 : 1) << length;
        ASSERT_EQ(dlclose(library), 0);
        ASSERT_EQ(dlopen(UTILITIES_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still mapped";
    }
    const auto taken = std::chrono::steady_clock::now() - start;
    EXPECT_LT(taken, std::chrono::seconds(40))
        << "a second each, as if threads were on their way out";
    EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
}

namespace {

void* late = nullptr;  ///< The library.
char latePort[sizeof(CComm)];

template <class... Arguments>
bool CallLate(const char* name, Arguments... arguments) {
    const auto call = reinterpret_cast<unsigned long (*)(Arguments...)>(dlsym(late, name));
    return (call(arguments...) & 0xFF) != 0;
}

void UseTheLibraryLate() {
    unsigned char byte = 1;
    if (CallLate("_ZN5CComm8TxBufferEPhib", latePort, &byte, 1, false))
        CallLate("_Z16VYStatusLogWritePKc", "late");
}

}  // namespace

TEST(Load, TheStatusLogAndPortsWorkAlsoAfterTheLibrarysDestructors) {
    const ScratchWorkingDirectory directory;
    const int side = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_EQ(grantpt(side) + unlockpt(side), 0);
    const pid_t process = StartProcess([side] {
        std::atexit(UseTheLibraryLate);  // Runs after all that is registered from here on.
        late = dlopen(UTILITIES_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        CallLate("_Z15SetSerialDeviceiPKc", 0, ptsname(side));
        CallLate("_ZN5CCommC1Ev", latePort);
        return CallLate("_ZN5CComm4OpenEilcii", latePort, 0, 9600L, 'N', 8, 1) ? 0 : 1;
    });
    EXPECT_EQ(EndOf(process), 0);
    EXPECT_EQ(ReadFile("vy-current-status"), "late");
    close(side);
}
