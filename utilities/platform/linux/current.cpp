#include "utilities/platform/linux/current.h"

#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdlib>

#include "utilities/platform/linux/handles.h"
#include "utilities/platform/linux/interrupt.h"
#include "utilities/platform/linux/mutex.h"
#include "utilities/platform/linux/record.h"
#include "utilities/platform/linux/threadend.h"
#include "utilities/platform/threads.h"

namespace platform {

constinit thread_local CurrentThread current{};

namespace {

constexpr std::uint32_t NO_KEY = 0xFFFFFFFF;

constinit Lock keyLock;
constinit std::atomic<pthread_key_t> endKey{NO_KEY};
constinit bool unloading = false;

void OnThreadEnd(void*) {
    EndThread();
    CleanUpEnded();
}

pthread_key_t EndKey() {
    pthread_key_t key = endKey.load(std::memory_order_acquire);
    if (key != NO_KEY)
        return key;
    const Guard guard(keyLock);
    key = endKey.load(std::memory_order_relaxed);
    if (key == NO_KEY && !unloading && pthread_key_create(&key, OnThreadEnd) == 0)
        endKey.store(key, std::memory_order_release);
    return endKey.load(std::memory_order_relaxed);
}

void BeforeFork() { HandleTable::BeforeFork(); }

void AfterForkInParent() { HandleTable::AfterFork(); }

/// The thread that forked goes on alone, under a new id. What others were about to do is undone.
void AfterForkInChild() {
    HandleTable::AfterFork();
    HandleTable::ForEachUsed([](Slot& slot) {
        slot.lock.Reset();
        slot.queue.Clear();
    });
    const std::uint32_t oldId = current.locker;
    current.id = static_cast<std::uint32_t>(gettid());
    if (oldId != 0)
        current.locker = current.id;
    if (ThreadRecord* const record = current.record)
        record->id = current.id;
    keyLock.Reset();
    MoveMutexesToForkedThread(oldId, current.id);
    ForgetThreadsAfterFork();
}

/// Runs behind all destructors of the library. Nothing may call into it from here on.
void Unload() {
    JoinEnded();
    ReleaseSignal();
    const Guard guard(keyLock);
    unloading = true;
    if (const pthread_key_t key = endKey.exchange(NO_KEY); key != NO_KEY)
        pthread_key_delete(key);
}

/// Runs ahead of all constructors of the library.
[[gnu::constructor(101)]] void Load() {
    pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild);
    std::atexit(Unload);
}

}  // namespace

std::uint32_t GetCurrentThreadId() {
    if (current.id == 0)
        current.id = static_cast<std::uint32_t>(gettid());
    return current.id;
}

void SetCurrentThreadName(const char* name) { prctl(PR_SET_NAME, name); }

std::uint32_t WatchThreadEnd() {
    const HoldOff hold;
    current.locker = GetCurrentThreadId();
    if (const pthread_key_t key = EndKey(); key != NO_KEY)
        pthread_setspecific(key, &current);
    return current.locker;
}

bool IsThreadEndWatched() {
    const pthread_key_t key = endKey.load(std::memory_order_acquire);
    return key != NO_KEY && pthread_getspecific(key) != nullptr;
}

void EndThread() {
    const HoldOff hold;
    if (current.locker != 0)
        AbandonMutexes(current.locker);
    current.locker = 0;
    ThreadRecord* const record = current.record;
    if (record == nullptr)
        return;
    // From here on the thread takes no signal of ours, and its record may go.
    current.record = nullptr;
    AddEnded(*record);
    OnEnd(*record);
    record->ended = true;
    record->changes.Open();
}

}  // namespace platform
