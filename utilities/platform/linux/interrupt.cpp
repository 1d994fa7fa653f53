#include "utilities/platform/linux/interrupt.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "utilities/platform/linux/codeplace.h"
#include "utilities/platform/linux/current.h"
#include "utilities/platform/linux/handlercode.h"
#include "utilities/platform/linux/record.h"
#include "utilities/platform/linux/threadend.h"

namespace platform {

namespace {

constinit Lock signalLock;
constinit std::atomic<int> signalNumber{0};
constinit bool released = false;

bool IsAsked(const ThreadRecord& record, std::uint32_t what) {
    return (record.control.load() & what) != 0;
}

/// Does what the thread is asked to do, where it can be stopped. May not return.
void Serve(ThreadRecord& record) {
    Park(record);
    if (!IsAsked(record, CONTROL_KILL))
        return;
    if (current.base != nullptr)
        LeaveThread();
    // It is on its way out already. Only destructors of its thread-local objects can hold it up.
    if (!UTILITIES_WATCHED_THREADS && IsAsked(record, CONTROL_FORCE))
        StopThread();
}

/// Until the place is known to be good, nothing that could be in use by the interrupted code is
/// touched.
HANDLER_CODE void OnSignal(int, siginfo_t*, void* context) {
    ThreadRecord* const record = current.record;
    if (record == nullptr)
        return;
    __atomic_store_n(reinterpret_cast<bool*>(&record->signalled), false, __ATOMIC_SEQ_CST);
    if (current.busy != 0) {
        current.pending = 1;
        if (std::atomic<std::uint32_t>* const word = current.sleepWord)
            __atomic_fetch_or(reinterpret_cast<std::uint32_t*>(word), SLEEP_INTERRUPTED,
                              __ATOMIC_SEQ_CST);
        return;
    }
    const std::uint32_t control =
        __atomic_load_n(reinterpret_cast<std::uint32_t*>(&record->control), __ATOMIC_SEQ_CST);
    if ((control & CONTROL_FORCE) == 0 && !IsStoppable(context))
        return;
    const int error = errno;
    Serve(*record);
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
    const Guard guard(signalLock);
    if (signalNumber.load(std::memory_order_relaxed) != 0)
        return true;
    const int number = released ? 0 : FindUnusedSignal();
    if (number == 0)
        return false;
    FindRuntimeLibraries();
    if (!Install(number))
        return false;
    signalNumber.store(number, std::memory_order_release);
    return true;
}

void ReleaseSignal() {
    const Guard guard(signalLock);
    released = true;
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
    const Guard guard(record.joinLock);
    const int number = signalNumber.load(std::memory_order_acquire);
    if (record.joined || number == 0 || record.signalled.exchange(true))
        return;
    if (pthread_kill(record.thread, number) != 0)
        record.signalled = false;
}

void Park(ThreadRecord& record) {
    const Deadline none(INFINITE);
    for (;;) {
        std::uint32_t control = record.control.load();
        if ((control & SUSPENSIONS) == 0 || (control & CONTROL_KILL) != 0) {
            // Said before the last look: a suspension that comes now either sees that the thread is
            // not parked, or is seen.
            if (!record.parked.exchange(false))
                return;
            continue;
        }
        if (!record.parked.exchange(true))
            record.changes.Open();
        FutexWait(record.control, control, none);
    }
}

}  // namespace platform
