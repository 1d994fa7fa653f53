/// Calls of the system and allocations of this thread that fail when a test wants it. To be
/// included by one source of a program, in which they stand between the library and the system.
#ifndef TESTS_FAULTS_FAILING_CALLS_H
#define TESTS_FAULTS_FAILING_CALLS_H

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <new>
#include <string_view>

/// Which calls are to fail, and what came of it. With ENOMEM these are allocations, with EINTR what
/// a signal can interrupt, else all calls of the system.
struct Failure {
    int error = 0, callsBefore = 0, times = 0;
    bool isNull = false;      ///< An allocation answers null where it should throw.
    const char* failed = "";  ///< The last one.
    const char* only = "";    ///< The one call that is to fail.
};

// Of this thread only: what another one does meanwhile is its own matter.
inline thread_local Failure failure;
inline thread_local long liveAllocations = 0;

inline constexpr char ALLOCATION[] = "an allocation";
inline constexpr std::string_view INTERRUPTIBLE[] = {"open",   "read",  "pread", "write",
                                                     "pwrite", "flock", "poll",  "waitid"};

inline bool CanFail(std::string_view call) {
    if (*failure.only != '\0')
        return call == failure.only;
    if (failure.error == EOPNOTSUPP)
        return call == "fallocate" || call == "pwrite";
    if (failure.error == EINTR)
        return std::ranges::find(INTERRUPTIBLE, call) != std::end(INTERRUPTIBLE);
    return (failure.error == ENOMEM) == (call == ALLOCATION);
}

inline bool Fails(const char* call) {
    if (failure.times == 0 || !CanFail(call) || failure.callsBefore-- > 0)
        return false;
    failure.callsBefore = 0;
    --failure.times;
    failure.failed = call;
    errno = failure.error;
    return true;
}

/// On a full disk a write has room for half, the next one for nothing.
inline bool IsHalfDone(std::size_t& size) {
    size /= 2;
    return failure.error == ENOSPC && failure.times > 0 && size > 0;
}

// Out of line, or the compiler sees malloc and free meet new and delete and warns.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    void* const block = Fails(ALLOCATION) ? nullptr : std::malloc(size);
    liveAllocations += block != nullptr;
    return block;
}
void* operator new(std::size_t size) {
    void* const block = operator new(size, std::nothrow);
    if (block == nullptr && !failure.isNull)
        throw std::bad_alloc();
    return block;
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
    liveAllocations -= block != nullptr;
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

/// What another program adds to the file while a call fails.
inline void AppendMeanwhile(int file) {
    const int error = errno;
    syscall(SYS_pwrite64, file, ", and more", 10, lseek(file, 0, SEEK_END));
    errno = error;
}

// The C library's functions as this program and the library within it see them.
#define CALL_OR(failed, result, name, parameters, arguments)                                 \
    extern "C" result name parameters noexcept(noexcept(name arguments)) {                   \
        static const auto real = reinterpret_cast<decltype(&name)>(dlsym(RTLD_NEXT, #name)); \
        return Fails(#name) ? (failed) : real arguments;                                     \
    }
#define CALL(...) CALL_OR(-1, __VA_ARGS__)
#define CALL_WITH_ONE_MORE(name, first, command)                                             \
    extern "C" int name(first one, command two, ...) noexcept(noexcept(name(one, two))) {    \
        static const auto real = reinterpret_cast<decltype(&name)>(dlsym(RTLD_NEXT, #name)); \
        va_list list;                                                                        \
        va_start(list, two);                                                                 \
        void* const three = va_arg(list, void*);                                             \
        va_end(list);                                                                        \
        return Fails(#name) ? -1 : real(one, two, three);                                    \
    }

CALL_WITH_ONE_MORE(open, const char*, int)
CALL_WITH_ONE_MORE(fcntl, int, int)
CALL_WITH_ONE_MORE(ioctl, int, unsigned long)
CALL_OR((real(file), errno = failure.error, -1), int, close, (int file), (file))
CALL(int, fstat, (int file, struct stat* status), (file, status))
CALL(int, stat, (const char* path, struct stat* status), (path, status))
CALL(int, lstat, (const char* path, struct stat* status), (path, status))
CALL(int, ftruncate, (int file, off_t size), (file, size))
CALL_OR((AppendMeanwhile(file), -1), int, fallocate, (int file, int mode, off_t offset, off_t size),
        (file, mode, offset, size))
CALL(int, flock, (int file, int operation), (file, operation))
CALL(int, tcflush, (int file, int queue), (file, queue))
CALL(ssize_t, read, (int file, void* bytes, size_t size), (file, bytes, size))
CALL(ssize_t, pread, (int file, void* bytes, size_t size, off_t at), (file, bytes, size, at))
CALL_OR(IsHalfDone(size) ? real(file, bytes, size) : -1, ssize_t, write,
        (int file, const void* bytes, size_t size), (file, bytes, size))
CALL_OR(IsHalfDone(size) ? real(file, bytes, size, at) : -1, ssize_t, pwrite,
        (int file, const void* bytes, size_t size, off_t at), (file, bytes, size, at))
CALL_OR(MAP_FAILED, void*, mmap,
        (void* place, size_t size, int protection, int flags, int file, off_t offset),
        (place, size, protection, flags, file, offset))
CALL(int, poll, (pollfd * files, nfds_t count, int limit), (files, count, limit))
CALL(int, waitid, (idtype_t kind, id_t id, siginfo_t* end, int options), (kind, id, end, options))
using Actions = posix_spawn_file_actions_t;
CALL_OR(errno, int, posix_spawn_file_actions_init, (Actions * actions), (actions))
CALL_OR(errno, int, posix_spawn_file_actions_adddup2, (Actions * actions, int file, int as),
        (actions, file, as))
CALL_OR(errno, int, posix_spawn_file_actions_addopen,
        (Actions * actions, int file, const char* path, int flags, mode_t mode),
        (actions, file, path, flags, mode))
CALL_OR(errno, int, posix_spawnp,
        (pid_t * child, const char* file, const Actions* actions,
         const posix_spawnattr_t* attributes, char* const* words, char* const* environment),
        (child, file, actions, attributes, words, environment))
CALL_OR(errno, int, pthread_create,
        (pthread_t * thread, const pthread_attr_t* attributes, void* (*start)(void*),
         void* argument),
        (thread, attributes, start, argument))
CALL_OR(errno, int, pthread_getcpuclockid, (pthread_t thread, clockid_t* clock), (thread, clock))
CALL_OR(errno, int, pthread_kill, (pthread_t thread, int number), (thread, number))
CALL(int, sigaction, (int number, const struct sigaction* action, struct sigaction* old),
     (number, action, old))

extern "C" long syscall(long number, ...) noexcept {
    static const auto real = reinterpret_cast<decltype(&syscall)>(dlsym(RTLD_NEXT, "syscall"));
    va_list list;
    va_start(list, number);
    long words[6];
    for (long& word : words)
        word = va_arg(list, long);
    va_end(list);
    if (number == SYS_pidfd_open && Fails("pidfd_open"))
        return -1;
    return real(number, words[0], words[1], words[2], words[3], words[4], words[5]);
}

#endif
