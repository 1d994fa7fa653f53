#include "utilities/locks/lockobj.h"

#include <algorithm>
#include <iterator>

#include "utilities/frame/assert_internal.h"
#include "utilities/locks/registry_internal.h"
#include "utilities/platform/clock.h"
#include "utilities/platform/currentthread.h"
#include "utilities/platform/fork.h"
#include "utilities/platform/waitable.h"

namespace {

constexpr char ASSERT_MODULE[] = ".\\lockobj";

std::uint32_t getOwnThreadId() { return platform::GetCurrentThreadId(); }

// The count goes where wrong use takes it, also past its ends.
std::int32_t Plus(std::int32_t count, std::uint32_t change) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(count) + change);
}

platform::Handle CreateClampedSemaphore(int maxCount, int initialCount) {
    const int maximum = std::max(maxCount, 1);
    const bool isInRange = initialCount >= 0 && initialCount <= maximum;
    return platform::CreateSemaphoreA(isInRange ? initialCount : maximum, maximum);
}

void Stamp(MutexDbgEntry& record) {
    record.LockTime.store(platform::clock(), std::memory_order_release);
    record.IsUntimed = false;
}

bool Succeeds(platform::Handle object, unsigned int timeout) {
    return platform::WaitForSingleObject(object, timeout) == platform::WAIT_OBJECT_0;
}

}  // namespace

MutexLock::MutexLock(const char* name)
    : m_Handle(platform::CreateMutexA()), m_DbgListIndex(TakeMutexRecord(name, m_Handle)) {}

MutexLock::MutexLock(const MutexLock&) = default;
MutexLock& MutexLock::operator=(const MutexLock&) = default;

MutexLock::~MutexLock() {
    if (MutexDbgList[m_DbgListIndex].Owner != 0) {
        ASSERT(MutexDbgList[m_DbgListIndex].Owner == getOwnThreadId());
        for (std::size_t i = 0; i < std::size(MutexDbgList[m_DbgListIndex].Waiter); ++i)
            ASSERT(MutexDbgList[m_DbgListIndex].Waiter[i] == 0);
    }
    MutexDbgList[m_DbgListIndex].InUse.store(RECORD_FREE, std::memory_order_release);
    platform::CloseHandle(m_Handle);
}

// In the child of a fork the thread that forked has another id: what it held then it holds still.
void MutexLock::FollowFork(std::uint32_t caller) {
    if (platform::AtFork::Generation() != 0 && platform::IsHeldByCaller(m_Handle))
        m_ThreadId = caller;
}

// In the child of a fork, where a thread of the parent held it.
void MutexLock::StartAnew() {
    m_ThreadId = 0;
    m_LockedCount = 0;
}

// True for a first-level acquisition.
inline bool MutexLock::CountAcquisition(std::uint32_t caller) {
    const auto getOwnThreadId = [caller] { return caller; };  // As the report names it.
    const std::int32_t count = Plus(m_LockedCount, 1);
    m_LockedCount = count;
    if (count > 1) {
        if (m_ThreadId != caller)
            FollowFork(caller);
        ASSERT(m_ThreadId == getOwnThreadId());
        return false;
    }
    ASSERT(m_ThreadId == 0);
    m_ThreadId = caller;
    return true;
}

// Two threads at once can take one slot. The list then shows one of them, and its slot is free
// again early: to exclude that would cost every `Lock` more than the rest of its bookkeeping.
[[gnu::noinline]] void MutexLock::LockWithSlot(Relaxed<std::uint32_t>* slot) {
    MutexDbgEntry& record = MutexDbgList[m_DbgListIndex];
    const std::uint32_t caller = getOwnThreadId();
    if (slot == nullptr) {
        slot = std::find(std::begin(record.Waiter), std::end(record.Waiter), 0u);
        if (slot == std::end(record.Waiter))
            slot = nullptr;
        else
            *slot = caller;
    }
    if (platform::WaitForSingleObject(m_Handle, platform::INFINITE) == platform::WAIT_NOT_FORKED)
        StartAnew();
    FinishLock(slot, caller);
}

[[gnu::noinline]] void MutexLock::FinishLock(Relaxed<std::uint32_t>* slot, std::uint32_t caller) {
    MutexDbgEntry& record = MutexDbgList[m_DbgListIndex];
    if (CountAcquisition(caller))
        Stamp(record);
    if (slot != nullptr)
        *slot = 0;
    record.Owner.store(caller, std::memory_order_release);
}

// The last steps of a first-level `Lock` that took the first slot. Apart from it, so that `Lock`
// keeps nothing across the call of the clock.
[[gnu::noinline]] static void StampAndPublish(MutexDbgEntry& record) {
    Stamp(record);
    record.Waiter[0] = 0;
    record.Owner.store(platform::GetLockerId(), std::memory_order_release);
}

// The same steps where nothing stands in the way: the first slot is free, the mutex is free or the
// caller's, and its fields are as they should be.
void MutexLock::Lock() {
    MutexDbgEntry& record = MutexDbgList[m_DbgListIndex];
    const std::uint32_t caller = platform::GetLockerId();
    if (caller == 0 || record.Waiter[0] != 0) [[unlikely]]
        return LockWithSlot(nullptr);
    record.Waiter[0] = caller;
    const platform::Acquired acquired = platform::AcquireAtOnce(m_Handle, caller);
    if (acquired == platform::Acquired::NOT) [[unlikely]]
        return LockWithSlot(&record.Waiter[0]);
    const std::int32_t count = m_LockedCount;
    if (acquired == platform::Acquired::AGAIN && count > 0 && m_ThreadId == caller) {
        m_LockedCount = Plus(count, 1);
        record.Waiter[0] = 0;
        record.Owner.store(caller, std::memory_order_release);
    } else if (acquired == platform::Acquired::FIRST && count == 0 && m_ThreadId == 0) {
        m_LockedCount = 1;
        m_ThreadId = caller;
        StampAndPublish(record);
    } else {
        FinishLock(&record.Waiter[0], caller);
    }
}

bool MutexLock::TryLock(unsigned int timeout) {
    const std::uint32_t result = platform::WaitForSingleObject(m_Handle, timeout);
    if (result == platform::WAIT_ABANDONED)
        platform::ReleaseMutex(m_Handle);
    if (result == platform::WAIT_NOT_FORKED)
        StartAnew();
    else if (result != platform::WAIT_OBJECT_0)
        return false;
    const std::uint32_t caller = getOwnThreadId();
    MutexDbgEntry& record = MutexDbgList[m_DbgListIndex];
    if (CountAcquisition(caller))
        record.IsUntimed = true;
    record.Owner.store(caller, std::memory_order_release);
    return true;
}

[[gnu::noinline]] void MutexLock::UnlockAndReport() {
    if (m_ThreadId != getOwnThreadId())
        FollowFork(getOwnThreadId());
    ASSERT(m_ThreadId == getOwnThreadId());
    const std::int32_t count = Plus(m_LockedCount, 0xFFFFFFFF);
    m_LockedCount = count;
    // The blanks in the conditions are part of the reports.
    // clang-format off
    ASSERT(m_LockedCount >=0);
    if (count == 0) {
        m_ThreadId = 0;
        MutexDbgList[m_DbgListIndex].Owner.store(0, std::memory_order_relaxed);
    } else {
        ASSERT(0!=m_ThreadId);
    }
    // clang-format on
    platform::ReleaseMutex(m_Handle);
}

// The same steps where there is nothing to report.
void MutexLock::Unlock() {
    const std::uint32_t caller = platform::GetLockerId();
    const std::int32_t count = m_LockedCount;
    if (caller == 0 || m_ThreadId != caller || count < 1) [[unlikely]]
        return UnlockAndReport();
    m_LockedCount = count - 1;
    if (count == 1) {
        m_ThreadId = 0;
        MutexDbgList[m_DbgListIndex].Owner.store(0, std::memory_order_relaxed);
    }
    platform::Release(m_Handle, caller);
}

void MutexLock::SetName(const char* name) { NameMutexRecord(MutexDbgList[m_DbgListIndex], name); }

SemaphoreLock::SemaphoreLock(int maxCount, int initialCount)
    : m_Handle(CreateClampedSemaphore(maxCount, initialCount)) {}

SemaphoreLock::SemaphoreLock(const SemaphoreLock&) = default;
SemaphoreLock& SemaphoreLock::operator=(const SemaphoreLock&) = default;
SemaphoreLock::~SemaphoreLock() { platform::CloseHandle(m_Handle); }

bool SemaphoreLock::TryLock(unsigned int timeout) { return Succeeds(m_Handle, timeout); }

void SemaphoreLock::Lock() { platform::WaitForSingleObject(m_Handle, platform::INFINITE); }

bool SemaphoreLock::CheckLock() { return TryLock(0); }

void SemaphoreLock::Unlock() { platform::ReleaseSemaphore(m_Handle); }

EventLock::EventLock(bool manualReset, bool initialState)
    : m_Handle(platform::CreateEventA(manualReset, initialState)) {}

EventLock::EventLock(const EventLock&) = default;
EventLock& EventLock::operator=(const EventLock&) = default;
EventLock::~EventLock() { platform::CloseHandle(m_Handle); }

bool EventLock::Wait(unsigned int timeout) { return Succeeds(m_Handle, timeout); }

bool EventLock::Wait() { return Wait(platform::INFINITE); }

void EventLock::Set() { platform::SetEvent(m_Handle); }

void EventLock::Reset() { platform::ResetEvent(m_Handle); }
