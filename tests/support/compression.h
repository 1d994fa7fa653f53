/// A fixture for tests of the compression and the file functions.
#ifndef TESTS_SUPPORT_COMPRESSION_H
#define TESTS_SUPPORT_COMPRESSION_H

#include <string>

#include "tests/support/report_of.h"
#include "tests/support/scratch.h"

namespace fs = std::filesystem;

/// Runs the test in a directory of its own. Expects that the test leaves no child process and no
/// open descriptor.
struct ScratchFolder : testing::Test {
    ~ScratchFolder() override {
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(OpenDescriptors(), descriptors);
        setenv("PATH", path.c_str(), 1);
    }
    /// Makes `gzip` a shell script, ahead of the real one.
    void Install(const std::string& script) const {
        WriteFile("gzip", "#!/bin/sh\n" + script);
        fs::permissions("gzip", fs::perms(0755));
        setenv("PATH", (folder + ":" + path).c_str(), 1);
    }

    const std::ptrdiff_t descriptors = OpenDescriptors();
    const std::string path = getenv("PATH");
    const ScratchWorkingDirectory scratch;
    const std::string folder = fs::current_path();
};

inline const std::string REPORT = Asserted("utilityfunctions", {"(retval)"});
inline const std::string MISSING =
    Asserted("utilityfunctions", {"(IsFileExisting(pszDestPathWithExt))"});

#endif
