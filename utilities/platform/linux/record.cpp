#include "utilities/platform/linux/record.h"

#include "utilities/platform/clock.h"
#include "utilities/platform/linux/current.h"
#include "utilities/platform/linux/handlercode.h"
#include "utilities/platform/linux/handles.h"

namespace platform {

namespace {

constinit Lock endedLock;
constinit ThreadRecord* endedThreads = nullptr;
constinit std::atomic<int> unattendedThreads{0};
constexpr int MOMENT = 1000;

/// False while the thread is still on its way out, or another thread is about to join it.
HANDLER_CODE bool TryJoin(ThreadRecord& record) {
    if (!record.joinLock.try_lock())
        return false;
    if (!record.joined)
        record.joined = pthread_tryjoin_np(record.thread, nullptr) == 0;
    const bool joined = record.joined;
    record.joinLock.unlock();
    return joined;
}

ThreadRecord* TakeEnded() {
    const Guard guard(endedLock);
    ThreadRecord* const first = endedThreads;
    endedThreads = nullptr;
    return first;
}

}  // namespace

void Unreference(ThreadRecord* record) {
    if (record != nullptr && record->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete record;
}

void OnHandleClosed(ThreadRecord& record) {
    if (!record.unattended.exchange(true))
        ++unattendedThreads;
}

void OnEnd(ThreadRecord& record) {
    if (record.unattended.exchange(true))
        --unattendedThreads;
}

RecordReference::RecordReference(Handle handle) {
    Slot* const slot = HandleTable::Find(handle);
    if (slot == nullptr || KindOf(handle) != KIND_THREAD)
        return;
    const Guard guard(slot->lock);
    if (TagOf(slot->word.load(std::memory_order_relaxed)) != TagOf(handle))
        return;
    record = slot->thread;
    record->references.fetch_add(1, std::memory_order_relaxed);
}

void Join(ThreadRecord& record) {
    const Guard guard(record.joinLock);
    if (!record.joined)
        pthread_join(record.thread, nullptr);
    record.joined = true;
}

HANDLER_CODE void AddEnded(ThreadRecord& record) {
    const Guard guard(endedLock);
    record.nextEnded = endedThreads;
    endedThreads = &record;
}

HANDLER_CODE void CleanUpEnded() {
    const Guard guard(endedLock);
    for (ThreadRecord** link = &endedThreads; *link != nullptr;) {
        ThreadRecord* const record = *link;
        if (TryJoin(*record)) {
            *link = record->nextEnded;
            Unreference(record);
        } else {
            link = &record->nextEnded;
        }
    }
}

void JoinEnded() {
    for (int tick = 0; tick < MOMENT && unattendedThreads > 0; ++tick)
        Sleep(1);
    const HoldOff hold;
    for (ThreadRecord* record = TakeEnded(); record != nullptr;) {
        ThreadRecord* const next = record->nextEnded;
        Join(*record);
        Unreference(record);
        record = next;
    }
}

void ForgetThreadsAfterFork() {
    endedLock.Reset();
    endedThreads = nullptr;
    unattendedThreads = 0;
    HandleTable::ForEachUsed([](Slot& slot) {
        ThreadRecord* const record = slot.thread;
        if (record == nullptr || record == current.record)
            return;
        record->ended = record->joined = true;
        record->changes.Reset();
        record->joinLock.Reset();
    });
}

std::uint32_t WaitForThread(ThreadRecord& record, std::uint32_t milliseconds) {
    const auto hasEnded = [&record] { return record.ended.load(); };
    if (!hasEnded()) {
        if (milliseconds == 0 || !record.changes.WaitUntil(hasEnded, Deadline(milliseconds)))
            return WAIT_TIMEOUT;
    }
    Join(record);
    CleanUpEnded();
    return WAIT_OBJECT_0;
}

}  // namespace platform
