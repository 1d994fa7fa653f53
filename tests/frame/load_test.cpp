#include <dlfcn.h>
#include <gtest/gtest.h>

// This program links no part of the library.
TEST(Load, LoadsAndUnloadsAgainAndAgain) {
    for (int round = 0; round < 50; ++round) {
        void* const library = dlopen(UTILITIES_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        using DebugLine = int (*)(const char*, ...);
        const auto print = reinterpret_cast<DebugLine>(dlsym(library, "printFmtDBGFile"));
        ASSERT_NE(print, nullptr) << "exported under its plain name";
        EXPECT_EQ(print("%d", round), 1);
        ASSERT_EQ(dlclose(library), 0);
        ASSERT_EQ(dlopen(UTILITIES_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still mapped";
    }
}
