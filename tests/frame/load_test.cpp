#include <dlfcn.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace {

bool IsMapped() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("libUtilities.so") != std::string::npos)
            return true;
    }
    return false;
}

// This program links no part of the library.
TEST(Load, LoadsAndUnloadsAgainAndAgain) {
    for (int round = 0; round < 50; ++round) {
        ASSERT_FALSE(IsMapped());
        void* library = dlopen(UTILITIES_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        ASSERT_TRUE(IsMapped());
        using DebugLine = int (*)(const char*, ...);
        const auto print = reinterpret_cast<DebugLine>(dlsym(library, "printFmtDBGFile"));
        ASSERT_NE(print, nullptr) << "exported under its plain name";
        EXPECT_EQ(print("%d", round), 1);
        ASSERT_EQ(dlclose(library), 0);
    }
    EXPECT_FALSE(IsMapped());
}

}  // namespace
