#include "utilities/platform/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <vector>

#include "utilities/platform/clock.h"

namespace platform {

namespace {

/// The words of `line`, each ended in place, and the null that closes an argument vector.
std::vector<char*> SplitAtBlanks(char* line) {
    std::vector<char*> words;
    char* rest = nullptr;
    for (char* word = strtok_r(line, " ", &rest); word != nullptr;
         word = strtok_r(nullptr, " ", &rest))
        words.push_back(word);
    words.push_back(nullptr);
    return words;
}

/// What the child does with its descriptors before the program starts. `output` may be any of the
/// three standard ones, where the caller has closed them, so it goes to its place first.
class Redirections {
public:
    explicit Redirections(int output)
        : error(
              posix_spawn_file_actions_init(&actions) ||
              posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO) ||
              posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0) ||
              posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0) ||
              posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1)) {}
    ~Redirections() { posix_spawn_file_actions_destroy(&actions); }
    Redirections(const Redirections&) = delete;
    Redirections& operator=(const Redirections&) = delete;

    /// Null where there was no memory.
    const posix_spawn_file_actions_t* Get() const { return error ? nullptr : &actions; }

private:
    posix_spawn_file_actions_t actions{};
    bool error;
};

/// A child's signals as a program expects them, whatever the caller blocks or ignores. The other
/// ignored ones, such as that of a hang-up, are for its children as well.
class PlainSignals {
public:
    PlainSignals() {
        sigset_t signals;
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes, &signals);
        for (const int ignored : {SIGCHLD, SIGPIPE, SIGXFSZ})
            sigaddset(&signals, ignored);
        posix_spawnattr_setsigdefault(&attributes, &signals);
    }
    ~PlainSignals() { posix_spawnattr_destroy(&attributes); }
    PlainSignals(const PlainSignals&) = delete;
    PlainSignals& operator=(const PlainSignals&) = delete;

    const posix_spawnattr_t* Get() const { return &attributes; }

private:
    posix_spawnattr_t attributes;
};

/// -1 where the program can't be started.
pid_t Spawn(char* const* words, int output) {
    const Redirections redirections(output);
    const PlainSignals signals;
    pid_t child = -1;
    if (words[0] == nullptr || redirections.Get() == nullptr ||
        posix_spawnp(&child, words[0], redirections.Get(), signals.Get(), words, environ) != 0)
        return -1;
    return child;
}

/// Waits for the end and takes it from the system, unless the system has forgotten it already, as
/// it does where the caller ignores the end of its children.
void Collect(idtype_t kind, int child) {
    siginfo_t end;
    while (waitid(kind, static_cast<id_t>(child), &end, WEXITED) != 0 && errno == EINTR) {
    }
}

}  // namespace

bool CreateProcessA(char* commandLine, int output, Process& process) {
    const pid_t child = Spawn(SplitAtBlanks(commandLine).data(), output);
    if (child < 0)
        return false;
    process.descriptor = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
    // A child that has ended, and whose end nobody wants to know, is gone by now.
    if (process.descriptor >= 0 || errno == ESRCH)
        return true;
    kill(child, SIGKILL);
    Collect(P_PID, child);
    return false;
}

std::uint32_t WaitForSingleObject(const Process& process, std::uint32_t milliseconds) {
    if (process.descriptor < 0)
        return WAIT_OBJECT_0;
    const std::uint32_t start = GetTickCount();
    pollfd child{process.descriptor, POLLIN, 0};
    for (;;) {
        const std::uint32_t left = milliseconds - std::min(GetTickCount() - start, milliseconds);
        const int count = poll(&child, 1, static_cast<int>(std::min<std::uint32_t>(left, INT_MAX)));
        if (count >= 0)
            return count == 0                 ? WAIT_TIMEOUT
                   : (child.revents & POLLIN) ? WAIT_OBJECT_0
                                              : WAIT_FAILED;
        if (errno != EINTR)
            return WAIT_FAILED;
    }
}

void TerminateProcess(const Process& process) {
    if (process.descriptor >= 0)
        syscall(SYS_pidfd_send_signal, process.descriptor, SIGKILL, nullptr, 0);
}

void CloseHandle(Process& process) {
    if (process.descriptor < 0)
        return;
    Collect(P_PIDFD, process.descriptor);
    close(process.descriptor);
    process.descriptor = -1;
}

}  // namespace platform
