// Each operation with its first, its second and every further call of the system failing in turn:
// the documented result comes, no descriptor stays open, and the operation works when it is tried
// again.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <optional>

#include "tests/support/scratch.h"
#include "tests/support/zone.h"
#include "utilities/utilities.h"

namespace {

constexpr int NEVER = -1;

// Of the test's thread only: what others do meanwhile is their own matter.
thread_local int callsUntilFailure = NEVER;
thread_local int injectedError = 0;
thread_local const char* failedCall = nullptr;

bool Fails(const char* name, bool canBeInterrupted) {
    if (callsUntilFailure == NEVER || (injectedError == EINTR && !canBeInterrupted) ||
        callsUntilFailure-- != 0)
        return false;
    // A full disk is full for the next call, too.
    callsUntilFailure = injectedError == ENOSPC && failedCall == nullptr ? 0 : NEVER;
    failedCall = name;
    errno = injectedError;
    return true;
}

template <class Function>
Function* Real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// The C library's functions as this program and the library within it see them.
#define CALL(result, name, parameters, arguments, qualifier, canBeInterrupted, failure) \
    extern "C" result name parameters qualifier {                                       \
        static const auto real = Real<result parameters>(#name);                        \
        return Fails(#name, canBeInterrupted) ? (failure) : real arguments;             \
    }
#define CALL_WITH_POINTER(name, command, qualifier)                     \
    extern "C" int name(int file, command number, ...) qualifier {      \
        static const auto real = Real<int(int, command, ...)>(#name);   \
        va_list list;                                                   \
        va_start(list, number);                                         \
        void* const argument = va_arg(list, void*);                     \
        va_end(list);                                                   \
        return Fails(#name, false) ? -1 : real(file, number, argument); \
    }

// With ENOSPC half is written before the next one fails.
#define CALL_OF_WRITE(name, parameters, arguments)                         \
    extern "C" ssize_t name parameters {                                   \
        static const auto real = Real<ssize_t parameters>(#name);          \
        if (!Fails(#name, true))                                           \
            return real arguments;                                         \
        if (injectedError != ENOSPC || callsUntilFailure != 0 || size < 2) \
            return -1;                                                     \
        size /= 2;                                                         \
        return real arguments;                                             \
    }
CALL_OF_WRITE(write, (int file, const void* bytes, size_t size), (file, bytes, size))
CALL_OF_WRITE(pwrite, (int file, const void* bytes, size_t size, off_t offset),
              (file, bytes, size, offset))
extern "C" int open(const char* path, int flags, ...) {
    static const auto real = Real<int(const char*, int, ...)>("open");
    va_list list;
    va_start(list, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(list, mode_t) : 0;
    va_end(list);
    return Fails("open", true) ? -1 : real(path, flags, mode);
}
CALL_WITH_POINTER(fcntl, int, )
CALL_WITH_POINTER(ioctl, unsigned long, noexcept)
extern "C" long syscall(long number, ...) noexcept {
    static const auto real = Real<long(long, ...)>("syscall");
    va_list list;
    va_start(list, number);
    long words[6];
    for (long& word : words)
        word = va_arg(list, long);
    va_end(list);
    if (number == SYS_pidfd_open && Fails("pidfd_open", false))
        return -1;
    return real(number, words[0], words[1], words[2], words[3], words[4], words[5]);
}
using FileActions = posix_spawn_file_actions_t;
extern "C" int close(int file) {
    static const auto real = Real<int(int)>("close");
    const int result = real(file);
    return Fails("close", false) ? -1 : result;
}
CALL(int, fstat, (int file, struct stat* status), (file, status), noexcept, false, -1)
CALL(int, stat, (const char* path, struct stat* status), (path, status), noexcept, false, -1)
CALL(int, lstat, (const char* path, struct stat* status), (path, status), noexcept, false, -1)
CALL(int, ftruncate, (int file, off_t size), (file, size), noexcept, false, -1)
CALL(int, posix_fallocate, (int file, off_t offset, off_t size), (file, offset, size), , false,
     errno)
CALL(int, flock, (int file, int operation), (file, operation), noexcept, true, -1)
CALL(int, tcflush, (int file, int queue), (file, queue), noexcept, false, -1)
CALL(ssize_t, read, (int file, void* bytes, size_t size), (file, bytes, size), , true, -1)
CALL(ssize_t, pread, (int file, void* bytes, size_t size, off_t offset),
     (file, bytes, size, offset), , true, -1)
CALL(void*, mmap, (void* place, size_t size, int protection, int flags, int file, off_t offset),
     (place, size, protection, flags, file, offset), noexcept, false, MAP_FAILED)
CALL(int, poll, (pollfd * files, nfds_t count, int limit), (files, count, limit), , true, -1)
CALL(int, waitid, (idtype_t kind, id_t id, siginfo_t* end, int options), (kind, id, end, options), ,
     true, -1)
CALL(int, posix_spawn_file_actions_init, (FileActions * actions), (actions), noexcept, false, errno)
CALL(int, posix_spawn_file_actions_adddup2, (FileActions * actions, int file, int as),
     (actions, file, as), noexcept, false, errno)
CALL(int, posix_spawn_file_actions_addopen,
     (FileActions * actions, int file, const char* path, int flags, mode_t mode),
     (actions, file, path, flags, mode), noexcept, false, errno)
CALL(int, posix_spawnp,
     (pid_t * child, const char* file, const FileActions* actions,
      const posix_spawnattr_t* attributes, char* const* words, char* const* environment),
     (child, file, actions, attributes, words, environment), , false, errno)
CALL(int, pthread_create,
     (pthread_t * thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument),
     (thread, attributes, start, argument), noexcept, false, errno)
CALL(int, pthread_getcpuclockid, (pthread_t thread, clockid_t* clock), (thread, clock), noexcept,
     false, errno)
CALL(int, pthread_kill, (pthread_t thread, int number), (thread, number), noexcept, false, errno)
CALL(int, sigaction, (int number, const struct sigaction* action, struct sigaction* old),
     (number, action, old), noexcept, false, -1)

namespace {

/// `act` tells whether all went well; what it finds undocumented it reports itself.
void FailEachCall(const char* what, bool (*act)()) {
    for (const int error : {EIO, EINTR, ENOSPC, EACCES}) {
        const std::ptrdiff_t descriptors = OpenDescriptors();
        for (int call = 0;; ++call) {
            failedCall = nullptr;
            injectedError = error;
            callsUntilFailure = call;
            const bool done = act();
            callsUntilFailure = NEVER;
            if (failedCall == nullptr)
                break;
            SCOPED_TRACE(testing::Message() << what << ", call " << call << ", " << failedCall);
            EXPECT_TRUE(done || error != EINTR) << "a signal made it fail";
            EXPECT_EQ(OpenDescriptors(), descriptors);
            EXPECT_TRUE(act()) << "the next time";
        }
    }
}

/// The file's content, read without a failure; nothing where there is none.
std::optional<std::string> ContentOf(const char* path) {
    const int calls = std::exchange(callsUntilFailure, NEVER);
    std::optional<std::string> content;
    if (std::filesystem::exists(path))
        content = ReadFile(path);
    callsUntilFailure = calls;
    return content;
}

class FailingSystemCall : public testing::Test {
    ScratchWorkingDirectory directory;
};

bool KeepRecords() {
    constexpr int SIZE = 8;
    std::filesystem::remove("records");
    if (!CREAT("records", 0600, -1, -1))
        return false;
    BinaryFile file(SIZE, SIZE);
    if (file.openFile("records", BinaryFile::BF_EXTEND, BinaryFile::BF_DENYNO, SIZE) != 0)
        return false;
    int written = file.writeHeader() == SIZE ? 1 : 0;
    for (unsigned int record = 1; record <= 2; ++record)
        if (file.writeFile(record) == SIZE)
            ++written;
    const bool isRead = file.readFile(1) == SIZE && file.writeCurrent() == SIZE;
    file.closeFile();
    const std::size_t size = ContentOf("records")->size();
    EXPECT_GE(size, static_cast<unsigned>(written) * SIZE);

    BinaryFile more(SIZE, SIZE);
    if (more.openFile("records", BinaryFile::BF_APPEND, BinaryFile::BF_DENYRW, SIZE) != 0)
        return false;
    const bool isAdded = more.writeCurrent() == SIZE;
    EXPECT_EQ(ContentOf("records")->size(), size + (isAdded ? SIZE : 0)) << "a part of a record";
    return isAdded && isRead && written == 3;
}

bool MapAFile() {
    std::filesystem::remove("mapped");
    MappedFile written("mapped", 2, 10000);
    if (written.getAddr() == nullptr)
        return false;
    static_cast<char*>(written.getAddr())[9999] = 1;
    return true;
}

bool Compress() {
    for (const char* file : {"packed.gz", "result"})
        std::filesystem::remove(file);
    const bool packed = *ZIP("source", "packed", true) != '\0';
    EXPECT_EQ(!ContentOf("packed.gz").value_or("").empty(), packed) << "a partial file";
    if (!packed)
        return false;
    const bool unpacked = UNZIP("packed", "result", true);
    EXPECT_EQ(ContentOf("result").value_or(""), unpacked ? "text" : "") << "a partial file";
    return unpacked;
}

bool ReadTheZone() {
    const ScopedZone zone("Europe/Berlin");
    bool success = false;
    const std::int32_t summer = 1'750'000'000;
    const struct tm fields = BqGMTime::localtime(&summer, &success);
    EXPECT_TRUE(success);
    return fields.tm_isdst == 1;
}

bool RunThreads() {
    static EventLock never(true);
    SystemThread thread("thread", [](SystemThread*) { return never.Wait() ? 1U : 0U; });
    if (!thread.Create(true, 0)) {
        EXPECT_EQ(thread.getHandle(), nullptr);
        return false;
    }
    const bool resumed = thread.Resume() == 1;
    const bool stopped = thread.Suspend() == 0 && thread.Resume() == 1;
    const bool killed = thread.Terminate(3);
    EXPECT_EQ(thread.getExitCode(), killed ? 3u : 0u);
    return resumed && stopped && killed;
}

int terminal = -1;

bool UseAPort() {
    CComm port;
    if (!port.Open(0, 9600, 'E', 7, 2)) {
        EXPECT_FALSE(port.IsPortOpen());
        return false;
    }
    unsigned char bytes[] = {1, 2, 3};
    const bool sent = port.TxBuffer(bytes, sizeof bytes, false) == 1;
    const bool isSet = port.SetPortA(19200, 'N', 8, 1);
    port.UseRtsCts(true);
    port.ClearRXBuffer();
    return port.RxSize() == 0 && port.TxSize() == 0 && sent && isSet;
}

}  // namespace

TEST_F(FailingSystemCall, LeavesFilesWhole) {
    FailEachCall("records", KeepRecords);
    FailEachCall("a mapped file", MapAFile);
    WriteFile("source", "text");
    FailEachCall("a compression", Compress);
}

TEST_F(FailingSystemCall, LeavesThreadsUnderControl) { FailEachCall("threads", RunThreads); }

TEST_F(FailingSystemCall, IsRepairedByTheNextReadingOfTheZone) {
    FailEachCall("the zone", ReadTheZone);
}

TEST_F(FailingSystemCall, LeavesThePortUsable) {
    int device = -1;
    char path[64];
    ASSERT_EQ(openpty(&terminal, &device, path, nullptr, nullptr), 0);
    SetSerialDevice(0, path);
    FailEachCall("a port", UseAPort);
    close(device);
    close(terminal);
}
