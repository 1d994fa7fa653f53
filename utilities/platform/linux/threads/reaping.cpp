#include "utilities/platform/linux/threads/reaping.h"

#include "utilities/platform/clock.h"
#include "utilities/platform/fork.h"
#include "utilities/platform/linux/sync/current.h"
#include "utilities/platform/linux/sync/handles.h"
#include "utilities/platform/linux/sync/sanitizer.h"
#include "utilities/platform/linux/sync/stopping.h"
#include "utilities/platform/linux/threads/stoprequest.h"

namespace platform {

namespace {

constinit FutexLock exitedLock;
constinit ThreadRecord* exitedThreads = nullptr;
constinit std::atomic<int> detachedThreads{0};

constexpr std::uint32_t LAST_MOMENT = 1000;      // Milliseconds.
constexpr std::int64_t JOIN_SLICE = 20'000'000;  // Nanoseconds.

/// Makes the caller the one that joins. False where another one is, or was.
HANDLER_CODE bool BeginJoin(ThreadRecord& record) {
    if (record.isJoining || record.isJoined)
        return false;
    record.isJoining = true;
    return true;
}

HANDLER_CODE void EndJoin(ThreadRecord& record, bool isJoined) {
    record.isJoining = false;
    record.isJoined = isJoined;
}

bool IsJoined(ThreadRecord& record) {
    const ScopedLock lock(record.joinLock);
    return record.isJoined;
}

/// False once the time is up.
bool JoinWithin(pthread_t thread, const Deadline& deadline) {
#if UTILITIES_WATCHED_THREADS
    // The sanitizer doesn't see a thread joined by clock, and takes it for leaked.
    while (pthread_tryjoin_np(thread, nullptr) != 0) {
        if (deadline.IsOver())
            return false;
        Sleep(1);
    }
    return true;
#else
    return pthread_clockjoin_np(thread, nullptr, CLOCK_MONOTONIC, deadline.Get()) == 0;
#endif
}

/// Joins a thread that has exited, for a slice of the time, without a lock: its own end may take
/// long, as destructors of thread-specific data belong to it. The caller can be stopped between two
/// slices, in which another thread may take over.
bool JoinForASlice(ThreadRecord& record, const Deadline& deadline) {
    const Deadline slice = Deadline::AfterNanoseconds(JOIN_SLICE);
    const bool isJoined = JoinWithin(record.thread, slice < deadline ? slice : deadline);
    {
        const ScopedLock lock(record.joinLock);
        EndJoin(record, isJoined);
    }
    record.changes.NotifyAll();
    return isJoined;
}

/// False while the thread is still on its way out, or another thread is about to join it.
bool TryJoin(ThreadRecord& record) {
    const ScopedLock lock(record.joinLock);
    if (BeginJoin(record))
        EndJoin(record, pthread_tryjoin_np(record.thread, nullptr) == 0);
    return record.isJoined;
}

ThreadRecord* TakeExited() {
    const ScopedLock lock(exitedLock);
    ThreadRecord* const first = exitedThreads;
    exitedThreads = nullptr;
    return first;
}

/// Threads that don't exist in the child have ended there; the one that forked starts without
/// requests, waiters and suspensions.
void SetRightInChild(ThreadRecord& record) {
    const bool isOwn = &record == current.record;
    if (isOwn)
        record.id = current.id;
    else
        record.exited = record.isJoined = true;
    record.control = 0;
    record.request = REQUEST_NONE;
    record.signalled = record.parked = record.isJoining = false;
    record.changes.Reset();
    record.joinLock.Reset();
}

const AtFork recordsAtFork(
    ForkOrder::THREADS, [] { exitedLock.lock(); }, [] { exitedLock.unlock(); },
    [] {
        exitedLock.Reset();
        detachedThreads = 0;
        current.pending = false;
        current.committed = false;
        HandleTable::ForEachUsed([](Slot& slot) {
            if (slot.thread != nullptr)
                SetRightInChild(*slot.thread);
        });
        for (ThreadRecord* record = exitedThreads; record != nullptr; record = record->nextExited)
            SetRightInChild(*record);
        if (current.record != nullptr)
            SetRightInChild(*current.record);
    });

}  // namespace

bool JoinUntil(ThreadRecord& record, const Deadline& deadline) {
    while (record.changes.WaitUntil([&record] { return record.exited.load(); }, deadline)) {
        bool isMine = false;
        {
            const ScopedLock lock(record.joinLock);
            if (record.isJoined)
                return true;
            isMine = BeginJoin(record);
        }
        if (isMine) {
            if (JoinForASlice(record, deadline))
                return true;
            if (deadline.IsOver() || (AgreeToStop() && !Stop()))
                return false;
            continue;
        }
        const auto isOver = [&record] {
            const ScopedLock lock(record.joinLock);
            return !record.isJoining;
        };
        if (!record.changes.WaitUntil(isOver, deadline))
            return IsJoined(record);
    }
    return false;
}

HANDLER_CODE void AddExited(ThreadRecord& record) {
    const ScopedLock lock(exitedLock);
    record.nextExited = exitedThreads;
    exitedThreads = &record;
}

HANDLER_CODE void ReapExited() {
    const ScopedLock lock(exitedLock);
    for (ThreadRecord** link = &exitedThreads; *link != nullptr;) {
        ThreadRecord* const record = *link;
        if (TryJoin(*record)) {
            *link = record->nextExited;
            Unreference(record);
        } else {
            link = &record->nextExited;
        }
    }
}

void OnHandleClosed(ThreadRecord& record) {
    if (!record.detached.exchange(true))
        ++detachedThreads;
}

void OnExit(ThreadRecord& record) {
    if (record.detached.exchange(true))
        --detachedThreads;
}

void JoinAll() {
    const Deadline deadline(LAST_MOMENT);
    while (detachedThreads > 0 && !deadline.IsOver())
        Sleep(1);
    const StopDeferral untilJoined;
    for (ThreadRecord* record = TakeExited(); record != nullptr;) {
        ThreadRecord* const next = record->nextExited;
        JoinUntil(*record, Deadline(LAST_MOMENT));
        Unreference(record);
        record = next;
    }
}

}  // namespace platform
