#include <dlfcn.h>
#include <gtest/gtest.h>

// This program links no part of the library.
TEST(Load, AgainAndAgainGivesADebugLineThatTellsWhetherTheTextFits) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
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
    EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
}
