#include "utilities/locks/registry_internal.h"

#include <cstdio>
#include <iostream>

#include "utilities/platform/currentthread.h"
#include "utilities/platform/fork.h"

constinit MutexDbgEntry MutexDbgList[MUTEX_RECORDS]{};
constinit std::atomic<std::uint16_t> MutexDbgCount{0};

namespace {

bool Claim(MutexDbgEntry& record) {
    std::uint8_t expected = RECORD_FREE;
    return record.InUse.load(std::memory_order_relaxed) == RECORD_FREE &&
           record.InUse.compare_exchange_strong(expected, RECORD_IN_PREPARATION,
                                                std::memory_order_acquire,
                                                std::memory_order_relaxed);
}

/// The threads that exist in the child only: the one that forked, under its new id.
void SetRightInChild(MutexDbgEntry& record) {
    const std::uint32_t parentId = platform::AtFork::ParentThreadId();
    const std::uint32_t owner = record.Owner.load(std::memory_order_relaxed);
    const bool isKept = owner != 0 && owner == parentId;
    record.Owner.store(isKept ? platform::GetCurrentThreadId() : 0, std::memory_order_relaxed);
    for (Relaxed<std::uint32_t>& waiter : record.Waiter)
        waiter = 0;
    // A record that another thread was just taking belongs to nobody.
    std::uint8_t unfinished = RECORD_IN_PREPARATION;
    record.InUse.compare_exchange_strong(unfinished, RECORD_FREE);
}

const platform::AtFork registryAtFork(platform::ForkOrder::LOCKS, nullptr, nullptr, [] {
    for (MutexDbgEntry& record : MutexDbgList)
        SetRightInChild(record);
});

void RaiseCount(std::uint16_t count) {
    std::uint16_t known = MutexDbgCount.load(std::memory_order_relaxed);
    while (known < count &&
           !MutexDbgCount.compare_exchange_weak(known, count, std::memory_order_relaxed)) {
    }
}

/// Readers that see any of these values see that the record is in preparation, or a new use of it.
void Empty(MutexDbgEntry& record) {
    std::atomic_thread_fence(std::memory_order_release);
    record.Uses.store(record.Uses.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    record.LockTime.store(0, std::memory_order_relaxed);
    record.Owner.store(0, std::memory_order_relaxed);
    for (Relaxed<std::uint32_t>& waiter : record.Waiter)
        waiter = 0;
}

void NameByIndex(std::uint16_t index) {
    char name[MUTEX_NAME_SIZE];
    std::snprintf(name, sizeof name, "MTX_%d", index);
    NameMutexRecord(MutexDbgList[index], name);
}

}  // namespace

// The records behind the count are free as well, so the first free one of the whole table is the
// first within the count or else the one behind it, and the table itself decides between threads.
std::uint16_t TakeMutexRecord(const char* name, const void* handle) {
    for (std::uint16_t index = 0; index < MUTEX_RECORDS; ++index) {
        MutexDbgEntry& record = MutexDbgList[index];
        if (!Claim(record))
            continue;
        Empty(record);
        if (name[0] != '\0' && name[1] != '\0')
            NameMutexRecord(record, name);
        else
            NameByIndex(index);
        record.Handle = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(handle));
        record.InUse.store(RECORD_IN_USE, std::memory_order_release);
        RaiseCount(static_cast<std::uint16_t>(index + 1));
        return index;
    }
    std::cout << "can't create Mutex debug entry " << std::endl;
    return MUTEX_RECORDS - 1;
}

void NameMutexRecord(MutexDbgEntry& record, const char* name) {
    for (Relaxed<char>& character : record.Name) {
        character = *name;
        if (*name != '\0')
            ++name;
    }
}

void ForgetMutexWaiter(std::uint32_t threadId) {
    const std::uint16_t count = MutexDbgCount.load(std::memory_order_relaxed);
    for (std::uint16_t index = 0; index < count; ++index) {
        for (Relaxed<std::uint32_t>& waiter : MutexDbgList[index].Waiter) {
            if (waiter == threadId)
                waiter = 0;
        }
    }
}
