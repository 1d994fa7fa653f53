#include "utilities/platform/linux/threads/threadend.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "utilities/platform/currentthread.h"
#include "utilities/platform/fork.h"
#include "utilities/platform/linux/sync/handles.h"
#include "utilities/platform/linux/sync/mutex.h"
#include "utilities/platform/linux/sync/stopping.h"
#include "utilities/platform/linux/threads/interrupt.h"
#include "utilities/platform/linux/threads/reaping.h"
#include "utilities/platform/linux/threads/stoprequest.h"

namespace platform {

namespace {

constexpr std::uint32_t NO_KEY = 0xFFFFFFFF;

constinit FutexLock keyLock;
constinit std::atomic<pthread_key_t> endKey{NO_KEY};
constinit bool isUnloading = false;

const AtFork keyAtFork(
    ForkOrder::THREADS, [] { keyLock.lock(); }, [] { keyLock.unlock(); }, [] { keyLock.Reset(); });

void OnThreadEnd(void*) {
    ReportExit();
    ReapExited();
}

pthread_key_t EndKey() {
    pthread_key_t key = endKey.load(std::memory_order_acquire);
    if (key != NO_KEY)
        return key;
    const ScopedLock lock(keyLock);
    key = endKey.load(std::memory_order_relaxed);
    if (key == NO_KEY && !isUnloading && pthread_key_create(&key, OnThreadEnd) == 0)
        endKey.store(key, std::memory_order_release);
    return endKey.load(std::memory_order_relaxed);
}

void StopWatchingThreadEnds() {
    const ScopedLock lock(keyLock);
    isUnloading = true;
    if (const pthread_key_t key = endKey.exchange(NO_KEY); key != NO_KEY)
        pthread_key_delete(key);
}

/// Runs after all destructors of the library. Nothing may call into it from then on.
void Unload() {
    JoinAll();
    ReleaseSignal();
    StopWatchingThreadEnds();
    HandleTable::Release();
}

/// Runs before all constructors of the library. It stands in this source as every program that
/// links the archive needs it, whatever else it takes.
[[gnu::constructor(101)]] void Load() {
    PrepareFences();
    pthread_atfork(AtFork::RunBefore, AtFork::RunInParent, AtFork::RunInChild);
    std::atexit(Unload);
}

}  // namespace

std::uint32_t WatchThreadEnd() {
    const StopDeferral untilWatched;
    current.locker = GetCurrentThreadId();
    if (const pthread_key_t key = EndKey(); key != NO_KEY)
        pthread_setspecific(key, &current);
    return current.locker;
}

bool IsThreadEndWatched() {
    const pthread_key_t key = endKey.load(std::memory_order_acquire);
    return key != NO_KEY && pthread_getspecific(key) != nullptr;
}

void ReportExit() {
    const StopDeferral untilReported;
    if (current.held != 0)
        AbandonMutexes(current.locker);
    if (Slot* const slot = current.released)
        FinishRelease(*slot);
    current.held = 0;
    current.locker = 0;
    ThreadRecord* const record = current.record;
    if (record == nullptr)
        return;
    // From here on the thread takes no signal of ours, and its record may go.
    current.record = nullptr;
    AddExited(*record);
    OnExit(*record);
    record->exited = true;
    EndRequest(*record);
    record->changes.NotifyAll();
}

void LeaveThread() {
    if (sigjmp_buf* const base = current.base)
        siglongjmp(*base, 1);
    ExitOnTheSpot();
}

void ExitOnTheSpot() {
    ReportExit();
    // The next thread on this stack would find the values of this one.
    for (pthread_key_t key = 0; key < PTHREAD_KEYS_MAX; ++key) {
        if (pthread_getspecific(key) != nullptr)
            pthread_setspecific(key, nullptr);
    }
    for (;;)
        syscall(SYS_exit, 0);
}

}  // namespace platform
