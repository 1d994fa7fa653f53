#include "utilities/platform/linux/threads/interrupt.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "utilities/platform/fork.h"
#include "utilities/platform/linux/sync/mutex.h"
#include "utilities/platform/linux/sync/sanitizer.h"
#include "utilities/platform/linux/threads/interruptionpoint.h"
#include "utilities/platform/linux/threads/stoprequest.h"
#include "utilities/platform/linux/threads/threadend.h"

namespace platform {

namespace {

constinit FutexLock signalLock;
constinit std::atomic<int> signalNumber{0};
constinit bool isReleased = false;

const AtFork signalAtFork(
    ForkOrder::THREADS, [] { signalLock.lock(); }, [] { signalLock.unlock(); },
    [] { signalLock.Reset(); });

/// A thread that its handler finds this often in a row at the same place of the same system call
/// sleeps there: one that runs would hardly be met before the same instruction even twice.
constexpr int SIGHTINGS_OF_SLEEP = 10;

HANDLER_CODE bool IsSeenAsleep(ThreadRecord& record, const void* context) {
    const InterruptedPlace place = PlaceOf(context);
    Sighting& last = record.sighting;
    const bool isSame = last.code == place.code && last.stack == place.stack;
    last = {place.code, place.stack, isSame ? last.count + 1 : 1};
    return last.count >= SIGHTINGS_OF_SLEEP;
}

/// What a thread does that can stop.
enum class Leave { NOT, BY_ITS_FRAMES, ON_THE_SPOT };

/// How the thread may be stopped where the signal has met it. One that has left the client's frames
/// runs destructors of its thread-local objects, which it is given time for.
HANDLER_CODE Leave Decide(ThreadRecord& record, std::uint32_t request, const void* context) {
    const bool isForced = (request & REQUEST_FORCE) != 0;
    const Interruptibility place = JudgeInterruptedPlace(context);
    const bool isAsleep = place == Interruptibility::ASLEEP_INSIDE && IsSeenAsleep(record, context);
    if (place < Interruptibility::IN_WAIT && !(isForced && isAsleep))
        return Leave::NOT;
    if (current.base == nullptr && IsKilled(record) && !isForced)
        return Leave::NOT;
    if (!IsStopWanted(record) || !HoldsNoStream(request))
        return Leave::NOT;
    const bool hasWayOut = current.base != nullptr;
    const bool isClean = place == Interruptibility::FULL || UTILITIES_WATCHED_THREADS;
    return hasWayOut && isClean ? Leave::BY_ITS_FRAMES : Leave::ON_THE_SPOT;
}

/// Parks, and ends the thread if it has been killed by then. May not return.
void Serve(ThreadRecord& record, Leave leave) {
    if (Slot* const slot = current.released)
        FinishRelease(*slot);
    Park(record);
    if (IsKilled(record) && leave == Leave::BY_ITS_FRAMES) {
        // A handler that is left by a jump leaves the signal blocked.
        UnblockSignal();
        LeaveThread();
    }
    if (IsKilled(record) && !UTILITIES_WATCHED_THREADS)
        ExitOnTheSpot();
    EndRequest(record);
}

/// Looks again in its waits and when its deferrals end.
HANDLER_CODE void Defer(ThreadRecord& record) {
    current.pending = true;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    MoveRequest(record, REQUEST_ASKED, REQUEST_DEFERRED);
    if (std::atomic<std::uint32_t>* const word = current.sleepWord)
        __atomic_fetch_or(reinterpret_cast<std::uint32_t*>(word), Waiter::INTERRUPTED,
                          __ATOMIC_SEQ_CST);
}

/// Nothing that the interrupted code could be using is touched before the place is known to be
/// good.
HANDLER_CODE void OnSignal(int, siginfo_t*, void* context) {
    ThreadRecord* const record = current.record;
    if (record == nullptr)
        return;
    const int error = errno;
    __atomic_store_n(reinterpret_cast<bool*>(&record->signalled), false, __ATOMIC_SEQ_CST);
    if (current.deferrals != 0) {
        Defer(*record);
    } else if (MoveRequest(*record, REQUEST_ASKED, REQUEST_DECIDING)) {
        const Leave leave = Decide(*record, record->request.load(), context);
        if (leave == Leave::NOT) {
            EndRequest(*record);
        } else {
            MoveRequest(*record, REQUEST_DECIDING, REQUEST_AGREED);
            Serve(*record, leave);
        }
    }
    errno = error;
}

int FindUnusedSignal() {
    for (int number = SIGRTMIN + 1; number < SIGRTMAX; ++number) {
        struct sigaction action;
        if (sigaction(number, nullptr, &action) == 0 && (action.sa_flags & SA_SIGINFO) == 0 &&
            action.sa_handler == SIG_DFL)
            return number;
    }
    return 0;
}

#if UTILITIES_WATCHED_THREADS

/// The kernel's form of an action.
struct KernelAction {
    void (*handler)(int, siginfo_t*, void*);
    unsigned long flags;
    void (*restorer)();
    unsigned long mask;
};

/// Puts the handler past the sanitizer's own, with the way back from a handler that it had set.
bool BypassSanitizer(int number) {
    KernelAction action;
    if (syscall(SYS_rt_sigaction, number, nullptr, &action, sizeof action.mask) != 0)
        return false;
    action.handler = OnSignal;
    return syscall(SYS_rt_sigaction, number, &action, nullptr, sizeof action.mask) == 0;
}

#else

bool BypassSanitizer(int) { return true; }

#endif

/// Calls that were interrupted go on where the system can do that, and no other handler runs on a
/// thread that is suspended.
bool Install(int number) {
    struct sigaction action = {};
    action.sa_sigaction = OnSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    sigfillset(&action.sa_mask);
    return sigaction(number, &action, nullptr) == 0 && BypassSanitizer(number);
}

}  // namespace

bool ClaimSignal() {
    if (signalNumber.load(std::memory_order_acquire) != 0)
        return true;
    const ScopedLock lock(signalLock);
    if (signalNumber.load(std::memory_order_relaxed) != 0)
        return true;
    const int number = isReleased ? 0 : FindUnusedSignal();
    if (number == 0)
        return false;
    PrepareInterruptionPoints();
    if (!Install(number))
        return false;
    signalNumber.store(number, std::memory_order_release);
    return true;
}

void ReleaseSignal() {
    const ScopedLock lock(signalLock);
    isReleased = true;
    if (const int number = signalNumber.exchange(0); number != 0) {
        // What is still on its way would end the process by the default action; ignoring drops it.
        std::signal(number, SIG_IGN);
        std::signal(number, SIG_DFL);
    }
}

void UnblockSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, signalNumber.load(std::memory_order_relaxed));
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

void SendSignal(ThreadRecord& record) {
    const ScopedLock lock(record.joinLock);
    const int number = signalNumber.load(std::memory_order_acquire);
    if (record.exited || record.isJoining || record.isJoined || number == 0 ||
        record.signalled.exchange(true))
        return;
    if (pthread_kill(record.thread, number) != 0)
        record.signalled = false;
}

}  // namespace platform
