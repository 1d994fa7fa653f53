#include "utilities/platform/threads.h"
#include "utilities/platform/currentthread.h"
#include "utilities/platform/stopdeferral.h"
#include "utilities/platform/threadcontrol.h"
#include "utilities/platform/threadpriority.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <clocale>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "tests/support/eventually.h"
#include "tests/support/scratch.h"
#include "tests/support/thread_state.h"
#include "utilities/platform/clock.h"

namespace {

using namespace platform;

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#else
void __lsan_disable() {}
#endif

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int KILLS = 480;
constexpr long GROWTH = 200'000;  // the sanitizers keep what was freed
#else
constexpr int KILLS = 9'600;
constexpr long GROWTH = 2'000;
#endif

std::atomic<long> steps{0};
int ends[2];
const bool IS_PIPED = pipe(ends) == 0;
Handle mutex, semaphore, event, owned, ending;

template <auto step>
unsigned int Repeat(void*) {
    for (;; ++steps)
        step();
}

/// What it holds when it is killed is lost.
constexpr auto Allocate = Repeat<[] {
    __lsan_disable();
    const std::unique_ptr<char[]> small(new char[300]), large(new char[5000]);
}>;
constexpr auto Step = Repeat<[] {}>;

unsigned int Read(void*) {
    char byte;
    return unsigned{read(ends[0], &byte, 1) == 1};
}

template <Handle* object>
unsigned int WaitFor(void*) {
    return WaitForSingleObject(*object, INFINITE);
}

struct Finally {
    ~Finally() { action(nullptr); }
    unsigned int (*action)(void*);
};

/// A thread with its handle and id.
struct Started {
    explicit Started(unsigned int (*start)(void*), void* argument = nullptr, unsigned int flags = 0)
        : handle(_beginthreadex(start, argument, flags, &id)) {}
    ~Started() { CloseHandle(handle); }
    bool Ends(std::uint32_t limit) const {
        return WaitForSingleObject(handle, limit) == WAIT_OBJECT_0;
    }
    std::uint32_t id = 0;
    Handle handle;
};

std::atomic<bool> mayEnd{false};
pthread_key_t late;

/// Exits, but the system takes it back only when it may end.
unsigned int EndLate(void*) {
    static const int created = pthread_key_create(&late, [](void* value) {
        if (value == &late)
            pthread_setspecific(late, &mayEnd);  // to come after the destructors of other keys
        for (; value != &late && !mayEnd; ++steps)
            Sleep(1);
    });
    return unsigned(created | pthread_setspecific(late, &late));
}

TEST(Threads, DoNotStartWhereEachSignalIsInUse) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // In a process that hasn't claimed one yet.
    EXPECT_EXIT(
        {
            for (int number = SIGRTMIN; number <= SIGRTMAX; ++number)
                std::signal(number, [](int) {});
            std::uint32_t id = 7;
            const Handle thread = _beginthreadex(Step, nullptr, 0, &id);
            std::exit(thread == nullptr && id == 7 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Threads, ASuspendedThreadStandsStillAndItsReadGoesOn) {
    Started thread([](void*) { return Read(nullptr) == 1 ? Step(nullptr) : 0; });
    for (int round = 0; round < 20; ++round) {
        const long before = steps;
        ASSERT_TRUE(round == 0 ? FallsAsleep(thread.id)
                               : Eventually([before] { return steps != before; }));
        EXPECT_EQ(SuspendThread(thread.handle), 0u);
        const long held = steps;
        EXPECT_EQ(write(ends[1], "x", round == 0), round == 0);
        EXPECT_TRUE(FallsAsleep(thread.id));
        EXPECT_EQ(steps, held);
        EXPECT_EQ(ResumeThread(thread.handle), 1u);
    }
    EXPECT_TRUE(TerminateThread(thread.handle, 0));
    EXPECT_EQ(SuspendThread(thread.handle), COUNT_FAILED);
}

TEST(Threads, ASuspendedWaiterLeavesWhatIsFreeToOthersAndComesBack) {
    mutex = CreateMutexA(), semaphore = CreateSemaphoreA(0, 5), event = CreateEventA(false, false);
    const struct {
        unsigned int (*wait)(void*);
        bool (*give)();
    } ROWS[] = {{WaitFor<&ending>, [] { return mayEnd = true; }},
                {WaitFor<&mutex>, [] { return ReleaseMutex(mutex); }},
                {WaitFor<&semaphore>, [] { return ReleaseSemaphore(semaphore); }},
                {WaitFor<&event>, [] { return SetEvent(event); }}};
    WaitForSingleObject(mutex, INFINITE);
    mayEnd = false;
    const Started exited(EndLate);
    ending = exited.handle;
    ASSERT_TRUE(Eventually([before = steps.load()] { return steps != before; }));
    for (const auto& row : ROWS) {
        SCOPED_TRACE(&row - ROWS);
        const Started first(row.wait);
        EXPECT_TRUE(FallsAsleep(first.id));
        const Started second(row.wait);
        EXPECT_TRUE(FallsAsleep(second.id));
        EXPECT_EQ(SuspendThread(first.handle), 0u);
        EXPECT_TRUE(row.give());
        EXPECT_TRUE(second.Ends(5000)) << "it is the first of those that run";
        EXPECT_FALSE(first.Ends(0));
        EXPECT_EQ(ResumeThread(first.handle), 1u);
        row.give();
        EXPECT_TRUE(first.Ends(5000));
        second.Ends(5000);
    }
    for (Handle const object : {mutex, semaphore, event})
        CloseHandle(object);
}

TEST(Threads, AKillTakesEffectWhereverTheThreadIs) {
    ASSERT_TRUE(IS_PIPED);
    static const struct Row {
        const char* place;
        bool sleeps;
        unsigned int (*start)(void*);
    } ROWS[] = {
        {"busy loop in frames that know no exception", false,
         [](void*) noexcept {
             const Finally never{Repeat<std::abort>};
             return Step(nullptr);
         }},
        {"waits that succeed", false,
         Repeat<[] { WaitForSingleObject(event, 0), SetEvent(event); }>},
        {"read", true, Read},
        {"sleep", true, [](void*) -> unsigned int { return Sleep(INFINITE), 0; }},
        {"mutex", true, WaitFor<&mutex>},
        {"semaphore", true, WaitFor<&semaphore>},
        {"event", true, WaitFor<&event>},
#if !defined(__SANITIZE_THREAD__)
        {"destructor of a thread's object", false,
         [](void*) {
             __lsan_disable();
             thread_local const Finally endless{Step};
             return 0u;
         }},
#endif
    };
    const auto start = [](void* row) {
        WaitForSingleObject(owned, INFINITE);
        WaitForSingleObject(owned, INFINITE);
        return static_cast<const Row*>(row)->start(nullptr);
    };
    mutex = CreateMutexA(), owned = CreateMutexA();
    semaphore = CreateSemaphoreA(0, 1), event = CreateEventA(false, false);
    WaitForSingleObject(mutex, INFINITE);
    const auto give = [] { ReleaseMutex(mutex), ReleaseSemaphore(semaphore), SetEvent(event); };
    for (Row row : ROWS) {
        for (const bool suspended : {false, true}) {
            SCOPED_TRACE(std::string(row.place) + (suspended ? ", suspended" : ""));
            const long before = steps;
            const Started thread(start, &row);
            ASSERT_TRUE(row.sleeps ? FallsAsleep(thread.id)
                                   : Eventually([&] { return steps != before; }));
            EXPECT_EQ(suspended ? SuspendThread(thread.handle) : 0u, 0u);
            if (suspended)
                give();
            EXPECT_TRUE(TerminateThread(thread.handle, 9));
            // Its task is listed for a moment after it has been joined.
            EXPECT_TRUE(Eventually([&] { return ThreadStateOf(thread.id) == '\0'; }));
            EXPECT_TRUE(thread.Ends(0));
            EXPECT_TRUE(TerminateThread(thread.handle, 9)) << "it has ended";
            if (!suspended)
                give();
            for (Handle const object : {mutex, semaphore, event})
                EXPECT_EQ(WaitForSingleObject(object, 0), WAIT_OBJECT_0) << "a dead one took it";
            EXPECT_EQ(WaitForSingleObject(owned, 0), WAIT_ABANDONED);
            EXPECT_TRUE(ReleaseMutex(owned));
            EXPECT_FALSE(ReleaseMutex(owned)) << "of depth one";
        }
    }
}

#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)

std::mutex clientsMutex;

unsigned int WaitInCondition(void*) {
    std::unique_lock lock(clientsMutex);
    for (std::condition_variable never;; never.wait(lock))
        ++steps;
}

/// Fails, or never returns, where a thread was stopped in the C library with a lock of it.
bool IsCLibraryUsable() {
    std::thread([] { free(malloc(100'000)); }).join();
    std::printf("%s", "");
    std::fprintf(stderr, "%s", "");
    std::fclose(std::fopen("/dev/null", "r"));
    const std::time_t now = 1;
    std::localtime(&now);
    std::setlocale(LC_ALL, "C");
    if (void* const library = dlopen("libutil.so.1", RTLD_NOW))
        dlclose(library);
    return EndOf(StartProcess([] { return std::atexit([] {}); })) == 0 && clientsMutex.try_lock() &&
           (clientsMutex.unlock(), true);
}

/// Between the calls it is in places where it can be stopped.
template <auto call>
constexpr auto CallAndCount = Repeat<[] {
    call();
    for (int i = 0; i < 3000; ++i)
        ++steps;
}>;

/// With calls that a handler is allowed to make.
void OnClientsSignal(int) {
    for (int i = 0; i < 100; ++i)
        close(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

struct Place {
    const char* name;
    unsigned int (*start)(void*);
};

/// In a process of its own, as what is lost is lost for the whole process.
int StopOften(const Place& place, bool kills) {
    std::signal(SIGUSR1, OnClientsSignal);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
        dup2(open("/dev/null", O_WRONLY), stream);
    for (int round = 0; round < 10; ++round) {
        alarm(20);
        const long before = steps;
        const Started thread(place.start);
        while (steps == before)
            std::this_thread::yield();
        if (place.start == Allocate)
            tgkill(getpid(), static_cast<pid_t>(thread.id), SIGUSR1);
        if (place.start == WaitInCondition)
            FallsAsleep(thread.id);
        const bool isStopped =
            kills ? TerminateThread(thread.handle, 0) : SuspendThread(thread.handle) == 0;
        if (!isStopped || !IsCLibraryUsable() || !TerminateThread(thread.handle, 0))
            return 1;
    }
    return 0;
}

TEST(Threads, AStopLeavesTheCLibraryToOthers) {
    static constexpr Place PLACES[] = {
        {"output", CallAndCount<[] { std::printf("%d\n", 5); }>},
        {"error output", CallAndCount<[] { std::fprintf(stderr, "%d\n", 5); }>},
        {"loader", CallAndCount<[] { dlclose(dlopen("libutil.so.1", RTLD_NOW)); }>},
        {"calendar", CallAndCount<[] {
             const std::time_t now = 1;
             std::localtime(&now);
         }>},
        {"locale", CallAndCount<[] { std::setlocale(LC_ALL, ""), std::setlocale(LC_ALL, "C"); }>},
        {"heap, below a client's handler", Allocate},
        {"condition", WaitInCondition}};
    for (const Place& place : PLACES) {
        for (const bool kills : {true, false}) {
            const pid_t process = StartProcess([&]() -> int { _exit(StopOften(place, kills)); });
            EXPECT_EQ(EndOf(process), 0) << place.name << (kills ? ", killed" : ", suspended");
        }
    }
}

#endif

TEST(Threads, KilledOrEndedInALoopLeaveNothingBehind) {
    static std::atomic<int> ended;
    const auto end = [](void*) noexcept -> unsigned int {
        thread_local const Finally local{[](void*) { return unsigned(++ended); }};
        const Finally never{Repeat<std::abort>};
        _endthreadex(3);
    };
    const auto run = [&end](int rounds) {
        for (int round = 0; round < rounds; ++round) {
            EXPECT_TRUE(round % 16 != 0 || CloseHandle(_beginthreadex(end, nullptr, 0, nullptr)));
            Started thread(Allocate, nullptr, round % 2 == 0 ? CREATE_SUSPENDED : 0);
            const long before = steps;
            EXPECT_TRUE(round % 16 != 1 || Eventually([before] { return steps != before; }));
            EXPECT_TRUE(TerminateThread(thread.handle, 0));
        }
        EXPECT_TRUE(Eventually([rounds] { return ended == rounds / 16; }));
        ended = 0;
    };
    run(160);
    const long threads = StatusOf("Threads");
    const auto files = OpenDescriptors();
    const long memory = StatusOf("VmRSS");
    run(KILLS);
    EXPECT_EQ(OpenDescriptors(), files);
    EXPECT_TRUE(Eventually([threads] { return StatusOf("Threads") <= threads; }));
    EXPECT_LT(StatusOf("VmRSS") - memory, GROWTH);
}

TEST(Threads, RequestsWaitForTheLastDeferral) {
    static std::atomic<bool> isDeferred, mayGoOn, isOver;
    for (const bool kill : {false, true}) {
        isDeferred = mayGoOn = isOver = false;
        // Again and again: where a request has to wait long it is taken back and made anew.
        Started thread([](void*) -> unsigned int {
            while (!isOver) {
                const StopDeferral outer;
                isDeferred = true;
                for (const StopDeferral inner; !mayGoOn;)
                    ++steps;
                WaitForSingleObject(nullptr, 0);
                isDeferred = false;
            }
            return 0;
        });
        ASSERT_TRUE(Eventually([] { return isDeferred.load(); }));
        const std::jthread releasing([asker = GetCurrentThreadId()] {
            EXPECT_TRUE(FallsAsleep(asker)) << "it waits for the thread to take notice";
            mayGoOn = true;
        });
        EXPECT_TRUE(kill ? TerminateThread(thread.handle, 0) : !SuspendThread(thread.handle));
        EXPECT_FALSE(isDeferred);
        isOver = true;
        EXPECT_EQ(ResumeThread(thread.handle), kill ? COUNT_FAILED : 1u);
        EXPECT_TRUE(thread.Ends(20000));
    }
}

TEST(Threads, TwoThatStopEachOtherBothStop) {
    static Handle handles[2];
    static bool kill;
    const auto stop = [](void* other) -> unsigned int {
        Handle const target = *static_cast<Handle*>(other);
        return kill ? unsigned{TerminateThread(target, 0)} : SuspendThread(target);
    };
    for (int round = 0; round < 200; ++round) {
        kill = round % 2 == 0;
        Started one(stop, &handles[1], CREATE_SUSPENDED);
        Started two(stop, &handles[0], CREATE_SUSPENDED);
        handles[0] = one.handle, handles[1] = two.handle;
        ASSERT_TRUE(Eventually([&] {
            ResumeThread(one.handle), ResumeThread(two.handle);
            return one.Ends(0) && two.Ends(0);
        }));
    }
}

TEST(Threads, PrioritiesAreNiceValues) {
    constexpr std::pair<int, int> ROWS[] = {{-1, 5}, {-2, 10}, {-15, 19}, {0, 0},
                                            {1, -5}, {2, -10}, {15, -20}};
    const int base = getpriority(PRIO_PROCESS, 0);
    static bool canRaise;
    Started thread(Step, nullptr, CREATE_SUSPENDED);
    EXPECT_EQ(GetThreadPriority(thread.handle), 0);
    for (const auto& [priority, nice] : ROWS) {
        const int wanted = std::clamp(base + nice, -20, 19);
        const bool isSet = SetThreadPriority(thread.handle, priority);
        EXPECT_TRUE(!isSet || getpriority(PRIO_PROCESS, thread.id) == wanted) << priority;
        EXPECT_EQ(setpriority(PRIO_PROCESS, thread.id, wanted) == 0, isSet) << priority;
        EXPECT_EQ(GetThreadPriority(thread.handle) == priority, isSet) << priority;
        canRaise = priority == 0 ? isSet : canRaise;
    }
    for (const int invalid : {-16, -3, 3, 14, 16})
        EXPECT_FALSE(SetThreadPriority(thread.handle, invalid)) << invalid;
    EXPECT_TRUE(TerminateThread(thread.handle, 0));
    EXPECT_FALSE(SetThreadPriority(thread.handle, 0)) << "it has ended";
    // Who has a low one doesn't hand it on, if that can be helped.
    Started creator(
        [](void* self) {
            SetThreadPriority(static_cast<Started*>(self)->handle, -1);
            Started created([](void*) { return 0u; });
            EXPECT_EQ(GetThreadPriority(created.handle), canRaise ? 0 : -1);
            return created.Ends(INFINITE) ? 0u : 1u;
        },
        &creator, CREATE_SUSPENDED);
    ResumeThread(creator.handle);
    EXPECT_TRUE(creator.Ends(INFINITE));
}

}  // namespace
