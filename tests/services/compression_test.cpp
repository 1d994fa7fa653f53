#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>

#include <cstring>
#include <thread>

#include "tests/support/compression.h"
#include "tests/support/eventually.h"
#include "tests/support/frozen_clock.h"
#include "utilities/services/compression.h"
#include "utilities/threads/threadutils.h"

namespace {

long waited = 0;          ///< By a frozen clock.
bool isUndying = false;   ///< Killed children don't end.
bool isRemoving = false;  ///< Whoever looks at "b.gz" finds that somebody has removed it.

}  // namespace

extern "C" {

/// By this the library waits for the program's end. A frozen clock moves by the limit.
int poll(pollfd* files, nfds_t count, int limit) {
    timespec until{0, limit * 1'000'000L};
    if (frozenTime >= 0) {
        frozenTime += limit;
        waited += limit;
        until = {};
    }
    return ppoll(files, count, &until, nullptr);
}

/// What a kill does takes a moment, whatever the clock shows.
int waitid(idtype_t kind, id_t id, siginfo_t* end, int options) {
    if (isUndying)
        return 0;
    const int waiting = frozenTime < 0 ? options : options & ~WNOHANG;
    return static_cast<int>(syscall(SYS_waitid, kind, id, end, waiting, nullptr));
}

int stat(const char* path, struct stat* status) noexcept {
    if (isRemoving && std::strcmp(path, "b.gz") == 0)
        unlink(path);
    return fstatat(AT_FDCWD, path, status, 0);
}

}  // extern "C"

namespace {

using Compression = ScratchFolder;

TEST_F(Compression, RestoresWhatItCompressed) {
    std::string content;
    for (int i = 0; i < 20000; ++i)
        content += std::to_string(i * 7919) + '\0';
    WriteFile("a.txt", content);
    WriteFile("b.gz", std::string(1'000'000, 'x'));  // Longer than what replaces it.
    EXPECT_STREQ(ZIP("a.txt", "b", true), getZipfileExtension());
    EXPECT_LT(fs::file_size("b.gz"), content.size() / 2);
    EXPECT_TRUE(UNZIP("b", "c.txt", false));
    EXPECT_EQ(ReadFile("c.txt"), content);
    EXPECT_EQ(ReadFile("a.txt"), content);
    // Not onto itself.
    fs::create_symlink("b.gz", "self");
    EXPECT_EQ(ReportOf([] { EXPECT_FALSE(UNZIP("b", "self", true)); }), REPORT);
    EXPECT_GT(fs::file_size("b.gz"), 0u);
}

TEST_F(Compression, RunsIfTheResultIsOlderOrForced) {
    Install("echo $# $*");
    constexpr int NONE = 99;
    const struct {
        int source, result;  // Their times.
        bool force, runs;
    } CASES[] = {{5, 5, false, false},     {5, 6, false, false},       {6, 5, false, true},
                 {5, 6, true, true},       {5, NONE, false, true},     {NONE, 5, false, false},
                 {-1, NONE, false, false}, {NONE, NONE, false, false}, {NONE, NONE, true, true}};
    const auto make = [](const char* name, int seconds) {
        fs::remove(name);
        const timeval times[] = {{seconds, 0}, {seconds, seconds & 1}};
        if (seconds != NONE)
            WriteFile(name, "old"), utimes(name, times);
    };
    for (const auto& [source, result, force, runs] : CASES) {
        for (const char* name : {"a", "a.gz"})
            make(name, source);
        for (const char* name : {"b", "b.gz"})
            make(name, result);
        EXPECT_EQ(*ZIP("a", "b", force), '.');
        EXPECT_TRUE(UNZIP("a", "b", force));
        const char* const old = result == NONE ? "" : "oldold";
        EXPECT_EQ(ReadFile("b.gz") + ReadFile("b"), runs ? "2 -fc a\n2 -dfc a.gz\n" : old)
            << source;
    }
    EXPECT_TRUE(UNZIP(" a  b ", "b", true));
    EXPECT_EQ(ReadFile("b"), "4 -dfc a b .gz\n");
}

TEST_F(Compression, TrustsTheProgramAndFailsIfItCannotRunOrWrite) {
    const struct {
        const char *destination, *script;
        unsigned mode;  // The program's.
        std::string report;
        const char* content;  // Of a regular result.
        int reason;           // Of a failure.
    } CASES[] = {
        {"b", "", 0644, REPORT + MISSING, nullptr, EACCES},
        {"b", "exit 1", 0755, "", "", 0},
        {"b", "echo part; kill -9 $$", 0755, "", "part\n", 0},
        {"b", "rm b.gz", 0755, MISSING, nullptr, 0},
        {"b", "trap '' TERM INT; exec sleep 1000", 0755, REPORT + MISSING, nullptr, ETIMEDOUT},
        {"b", "exec sleep 1001", 0755, REPORT + MISSING, nullptr, ETIMEDOUT},  // Can't end.
        {"b", "exec removing", 0755, REPORT + MISSING, nullptr, EBUSY},
        // Its own child outlives it and keeps the output open as long as this test runs.
        {"b", "(while [ -e gzip ]; do sleep 0.01; done) & echo done", 0755, "", "done\n", 0},
        {"folder", "", 0755, REPORT, nullptr, EISDIR},
        {"pipe", "", 0755, REPORT, nullptr, ENXIO},  // Without a reader.
        {"full", "echo", 0755, "", nullptr, 0},
        {"full", "", 0644, REPORT + MISSING, nullptr, EACCES},  // The link goes, not the device.
        {"missing/b", "", 0755, REPORT + MISSING, nullptr, ENOENT},
        {"folder.gz/b", "", 0755, REPORT + MISSING, nullptr, EACCES},  // Without rights.
    };
    waited = 0;
    fs::create_directory("folder.gz");
    fs::create_symlink("/dev/full", "full.gz");
    mkfifo("pipe.gz", 0666);
    fs::permissions("pipe.gz", fs::perms(0666));
    fs::permissions("folder.gz", fs::perms(0555));
    fs::permissions(".", fs::perms(0777));
    for (const auto& [destination, script, mode, report, content, reason] : CASES) {
        Install(script);
        if (mode != 0755)
            setenv("PATH", folder.c_str(), 1);  // Without the real program.
        fs::permissions("gzip", fs::perms(mode));
        WriteFile("b.gz", "old and longer than the new");
        fs::permissions("b.gz", fs::perms(0666));
        frozenTime = std::strstr(script, "sleep 100") != nullptr ? BEFORE_THE_WRAP : -1;
        isUndying = std::strstr(script, "1001") != nullptr;
        isRemoving = std::strstr(script, "removing") != nullptr;
        const uid_t user = geteuid();
        EXPECT_TRUE(user != 0 || seteuid(65534) == 0);
        EXPECT_EQ(ReportOf([&, name = destination, expected = reason] {
                      EXPECT_EQ(*ZIP("a", name, true) == '\0' ? errno : 0, expected) << name;
                  }),
                  report)
            << script;
        frozenTime = -1;
        isUndying = isRemoving = false;
        EXPECT_EQ(seteuid(user), 0);
        const std::string result = destination + std::string(".gz");
        EXPECT_EQ(fs::is_regular_file(result), content != nullptr) << result << script;
        EXPECT_TRUE(content == nullptr || ReadFile(result) == content) << script;
    }
    EXPECT_EQ(waited, 2 * 30000);
    EXPECT_TRUE(fs::exists("/dev/full"));
}

// The caller ignores the end of children, blocks a signal, leaves a descriptor open to children and
// is interrupted all the time.
TEST_F(Compression, RunsTheProgramWithDefaultSignalsAndDescriptors) {
    Install(
        "sleep 0.05; readlink /proc/self/fd/0 /proc/self/fd/2\nls /proc/self/fd\n"
        "exec grep -E '^Sig(Blk|Ign)' /proc/self/status");
    const int inherited = open("/dev/null", O_RDONLY);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    for (const int ignored : {SIGPIPE, SIGCHLD})
        signal(ignored, SIG_IGN);
    signal(SIGALRM, [](int) {});
    ualarm(1000, 1000);
    EXPECT_STREQ(ZIP("a", "b", true), ".gz");
    ualarm(0, 0);
    for (const int ignored : {SIGPIPE, SIGCHLD})
        signal(ignored, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
    close(inherited);
    // The last descriptor is the one by which the list is read.
    EXPECT_TRUE(std::regex_match(ReadFile("b.gz"),
                                 std::regex("/dev/null\n/dev/null\n0\n1\n2\n3\nSigBlk:\t0+\n"
                                            "SigIgn:\t[0-9a-f]{11}[02468ace]{2}[0-9a-f]{3}\n")))
        << ReadFile("b.gz");
}

TEST_F(Compression, EndsWithItsThread) {
    const auto expectNothingLeft = [this] {
        EXPECT_FALSE(fs::exists("b.gz"));
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(OpenDescriptors(), descriptors);
    };
    const auto isStarted = [] { return ReadFile("b.gz") == "started\n"; };
    Install("echo started; exec sleep 1000");
    testing::internal::CaptureStdout();
    SystemThread killed("killed", [](SystemThread*) { return ZIP("a", "b", true), 0u; });
    EXPECT_TRUE(killed.Create(false, 0));
    EXPECT_TRUE(Eventually(isStarted));
    EXPECT_TRUE(killed.Terminate(0));
    testing::internal::GetCapturedStdout();
    expectNothingLeft();
    std::thread cancelled([] { ZIP("a", "b", true); });
    EXPECT_TRUE(Eventually(isStarted));
    EXPECT_EQ(pthread_cancel(cancelled.native_handle()), 0);
    cancelled.join();
    expectNothingLeft();
}

TEST_F(Compression, LocksTheResultAndLeavesOtherChildrenAlone) {
    Install("echo started; while [ ! -e go ]; do sleep 0.01; done; echo done");
    const pid_t ended = StartProcess([] { return 3; });
    siginfo_t end;
    EXPECT_EQ(waitid(P_PID, static_cast<id_t>(ended), &end, WEXITED | WNOWAIT), 0);
    std::thread first([] { EXPECT_STREQ(ZIP("a", "b", true), ".gz"); });
    EXPECT_TRUE(Eventually([] { return ReadFile("b.gz") == "started\n"; }));
    EXPECT_EQ(ReportOf([] { EXPECT_STREQ(ZIP("a", "b", true), ""); }), REPORT);
    // At once, as not all threads of the program are in the child.
    EXPECT_EQ(EndOf(StartProcess([]() -> int { _exit(*ZIP("a", "b", true) == '\0' ? 3 : 4); })), 3);
    EXPECT_EQ(EndOf(ended), 3);
    WriteFile("go", "");
    first.join();
    EXPECT_EQ(ReadFile("b.gz"), "started\ndone\n");
}

}  // namespace
