#include "utilities/platform/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include "utilities/frame/errno_internal.h"
#include "utilities/platform/canceldeferral.h"
#include "utilities/platform/clock.h"
#include "utilities/platform/linux/files/opening.h"
#include "utilities/platform/linux/process/childreaping.h"
#include "utilities/platform/linux/sync/stopping.h"

namespace platform {

namespace {

// The longest part of a wait: so long may a kill, a suspension or a cancellation be deferred.
constexpr std::uint32_t WAIT_MILLISECONDS = 20;

/// The words of `line`, terminated in place, and the null pointer that ends an argument vector.
std::vector<char*> SplitAtBlanks(char* line) {
    std::vector<char*> words;
    char* rest = nullptr;
    for (char* word = strtok_r(line, " ", &rest); word != nullptr;
         word = strtok_r(nullptr, " ", &rest))
        words.push_back(word);
    words.push_back(nullptr);
    return words;
}

/// The child's steps on its descriptors before the program starts. `output` may be 0, 1 or 2 if the
/// caller has closed these, so it is duplicated before they are opened.
class Redirections {
public:
    explicit Redirections(int output) : m_Error(posix_spawn_file_actions_init(&m_Actions)) {
        if (m_Error == 0)
            m_Error = posix_spawn_file_actions_adddup2(&m_Actions, output, STDOUT_FILENO);
        if (m_Error == 0)
            m_Error = posix_spawn_file_actions_addopen(&m_Actions, STDIN_FILENO, "/dev/null",
                                                       O_RDONLY, 0);
        if (m_Error == 0)
            m_Error = posix_spawn_file_actions_addopen(&m_Actions, STDERR_FILENO, "/dev/null",
                                                       O_WRONLY, 0);
        if (m_Error == 0)
            m_Error = posix_spawn_file_actions_addclosefrom_np(&m_Actions, STDERR_FILENO + 1);
    }
    ~Redirections() { posix_spawn_file_actions_destroy(&m_Actions); }
    Redirections(const Redirections&) = delete;
    Redirections& operator=(const Redirections&) = delete;

    /// Not 0 if there was no memory.
    int Error() const { return m_Error; }
    const posix_spawn_file_actions_t* Get() const { return &m_Actions; }

private:
    posix_spawn_file_actions_t m_Actions{};
    int m_Error;
};

/// The child's signals: none blocked, and those with their default action that a library or runtime
/// in the caller may ignore. Others that the caller ignores, such as SIGHUP, stay ignored, as that
/// is usually meant for its children, too.
class DefaultSignals {
public:
    DefaultSignals() {
        sigset_t signals;
        posix_spawnattr_init(&m_Attributes);
        posix_spawnattr_setflags(&m_Attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&m_Attributes, &signals);
        for (const int signal : {SIGCHLD, SIGPIPE, SIGXFSZ})
            sigaddset(&signals, signal);
        posix_spawnattr_setsigdefault(&m_Attributes, &signals);
    }
    ~DefaultSignals() { posix_spawnattr_destroy(&m_Attributes); }
    DefaultSignals(const DefaultSignals&) = delete;
    DefaultSignals& operator=(const DefaultSignals&) = delete;

    const posix_spawnattr_t* Get() const { return &m_Attributes; }

private:
    posix_spawnattr_t m_Attributes;
};

/// Returns the child's process id, or -1 if the program can't be started.
pid_t Spawn(char* const* words, int output) {
    const Redirections redirections(output);
    const DefaultSignals attributes;
    pid_t child = -1;
    int error = words[0] == nullptr ? EINVAL : redirections.Error();
    if (error == 0)
        error =
            posix_spawnp(&child, words[0], redirections.Get(), attributes.Get(), words, environ);
    if (error != 0)
        errno = error;
    return error == 0 ? child : -1;
}

/// WAIT_TIMEOUT also if a signal has ended the wait early.
std::uint32_t WaitBriefly(const Process& process, std::uint32_t milliseconds) {
    pollfd child{process.descriptor, POLLIN, 0};
    const int count = poll(&child, 1, static_cast<int>(milliseconds));
    if (count == 0 || (count < 0 && errno == EINTR))
        return WAIT_TIMEOUT;
    return count > 0 && (child.revents & POLLIN) != 0 ? WAIT_OBJECT_0 : WAIT_FAILED;
}

}  // namespace

bool CreateProcessA(char* commandLine, int output, Process& process) {
    ReapLateChildren();
    const pid_t child = Spawn(SplitAtBlanks(commandLine).data(), output);
    if (child < 0)
        return false;
    process.descriptor = AboveStandard(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
    // With SIGCHLD ignored, a child that has ended doesn't exist any more.
    if (process.descriptor >= 0 || errno == ESRCH)
        return true;
    const ScopedErrno untilReaped;
    kill(child, SIGKILL);
    ReapChild({P_PID, child});
    return false;
}

std::uint32_t WaitForSingleObject(const Process& process, std::uint32_t milliseconds) {
    if (process.descriptor < 0)
        return WAIT_OBJECT_0;
    const std::uint32_t start = GetTickCount();
    for (;;) {
        const std::uint32_t left = milliseconds - std::min(GetTickCount() - start, milliseconds);
        const std::uint32_t result = WaitBriefly(process, std::min(left, WAIT_MILLISECONDS));
        if (result != WAIT_TIMEOUT || left == 0)
            return result;
        CancelDeferral::Serve();
        if (AgreeToStop() && !Stop())
            return WAIT_FAILED;
    }
}

void TerminateProcess(const Process& process) {
    if (process.descriptor >= 0)
        syscall(SYS_pidfd_send_signal, process.descriptor, SIGKILL, nullptr, 0);
}

void CloseHandle(Process& process) {
    if (process.descriptor >= 0)
        ReapChild({P_PIDFD, std::exchange(process.descriptor, -1)});
}

}  // namespace platform
