/// Files and processes of a test's own.
#ifndef TESTS_SUPPORT_SCRATCH_H
#define TESTS_SUPPORT_SCRATCH_H

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// A directory that is removed with the object, with everything in it.
class ScratchDirectory {
public:
    ScratchDirectory() {
        if (mkdtemp(directory.data()) == nullptr)
            std::abort();
    }
    ~ScratchDirectory() { std::filesystem::remove_all(directory); }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    std::string operator/(const std::string& name) const { return directory + "/" + name; }

private:
    std::string directory = std::filesystem::temp_directory_path() / "testXXXXXX";
};

/// Makes a directory of its own the working directory, for as long as it lives.
class ScratchWorkingDirectory : ScratchDirectory {
public:
    ScratchWorkingDirectory() { std::filesystem::current_path(*this / ""); }
    ~ScratchWorkingDirectory() { std::filesystem::current_path(before); }

private:
    std::filesystem::path before = std::filesystem::current_path();
};

inline std::ptrdiff_t OpenDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

inline void WriteFile(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Runs `work` in a process of its own, which ends with its result.
template <class Work>
pid_t StartProcess(Work work) {
    const pid_t child = fork();
    if (child == 0)
        std::exit(work());
    return child;
}

/// The process's exit status, or minus the signal that ended it.
inline int EndOf(pid_t process) {
    int status = 0;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

#endif
