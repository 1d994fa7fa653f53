#include "utilities/platform/linux/sync/mutex.h"

#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "utilities/platform/fork.h"
#include "utilities/platform/linux/sync/stopping.h"

namespace platform {

namespace {

// The longest pause of a spinning thread. Together the pauses take about as long as a wake-up from
// a sleep, so that spinning in vain at most doubles the cost of a wait.
constexpr int LONGEST_PAUSE = 128;

// Plain, as it is written before there is a second thread.
constinit bool canFenceAllThreads = false;

bool CallMembarrier(int command) { return syscall(SYS_membarrier, command, 0, 0) == 0; }

/// Every other thread of the process has passed a barrier when this returns.
void FenceAllThreads() {
    if (canFenceAllThreads)
        CallMembarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED);
}

bool IsHeld(std::uint32_t owner) {
    return owner != 0 && (owner & (OWNER_ABANDONED | OWNER_NOT_FORKED | OWNER_NO_MUTEX)) == 0;
}

bool IsFree(const Slot& slot) { return !IsHeld(slot.owner.load(std::memory_order_relaxed)); }

std::uint32_t ResultAfter(std::uint32_t previousOwner) {
    switch (previousOwner) {
        case OWNER_ABANDONED:
            return WAIT_ABANDONED;
        case OWNER_NOT_FORKED:
            return WAIT_NOT_FORKED;
        default:
            return WAIT_OBJECT_0;
    }
}

/// Takes the mutex if it is free. The caller holds it already only where it can't get any deeper.
/// Under the slot's lock no handle is closed, so a mutex that was taken there stays taken.
std::uint32_t TryAcquire(Slot& slot, Handle handle) {
    const std::uint32_t self = LockerId();
    std::uint32_t owner = slot.owner.load(std::memory_order_relaxed);
    while (IsOpen(slot, handle)) {
        if (owner == self)
            return WAIT_FAILED;
        if (IsHeld(owner))
            return BLOCKED;
        current.held = current.held + 1;
        std::atomic_signal_fence(std::memory_order_seq_cst);
        if (slot.owner.compare_exchange_strong(owner, self, std::memory_order_acquire,
                                               std::memory_order_relaxed)) {
            if (IsOpen(slot, handle))
                return ResultAfter(owner);
            ReleaseSlot(slot);
        } else {
            current.held = current.held - 1;
        }
    }
    return WAIT_FAILED;
}

/// Spins for a moment, as most holders are about to release. It looks ever less often, as each look
/// takes the cache line from the holder.
std::uint32_t TryAcquireForAMoment(Slot& slot, Handle handle) {
    for (int pauses = 1; pauses <= LONGEST_PAUSE; pauses *= 2) {
        for (int i = 0; i < pauses; ++i)
            Pause();
        if (IsFree(slot)) {
            const std::uint32_t result = TryAcquire(slot, handle);
            if (result != BLOCKED)
                return result;
        }
    }
    return BLOCKED;
}

/// One thread's wait for a mutex.
class MutexWait {
public:
    MutexWait(Slot& slot, Handle handle) : m_Slot(slot), m_Handle(handle) {}

    std::uint32_t Run(const Deadline& deadline) {
        std::uint32_t result = Enter();
        while (result == BLOCKED) {
            if (MustLookAgain()) {
                result = Retry(false);
                continue;
            }
            const Waiter::Outcome outcome = m_Waiter.Sleep(deadline);
            result = outcome == Waiter::Outcome::STOP_AGREED
                         ? StopAndReturn()
                         : Retry(outcome == Waiter::Outcome::TIMED_OUT);
        }
        return result;
    }

private:
    std::uint32_t Enter() {
        const ScopedLock lock(m_Slot.lock);
        const std::uint32_t result = TryAcquire(m_Slot, m_Handle);
        if (result == BLOCKED) {
            m_Slot.queue.Push(m_Waiter);
            MarkAwaited();
        }
        return result;
    }

    /// After a wake-up, or when the time is up: then for the last time.
    std::uint32_t Retry(bool isLast) {
        Wakeup next = nullptr;
        std::uint32_t result = WAIT_FAILED;
        {
            const ScopedLock lock(m_Slot.lock);
            if (m_Waiter.IsRefused())
                return WAIT_FAILED;
            const bool wasWoken = m_Waiter.IsWoken();
            m_Waiter.Rearm();
            result = TryAcquire(m_Slot, m_Handle);
            if (result == BLOCKED && !isLast) {
                MarkAwaited();
                return BLOCKED;
            }
            m_Slot.queue.Remove(m_Waiter);
            if (result == BLOCKED)
                result = WAIT_TIMEOUT;
            if (result == WAIT_TIMEOUT && wasWoken)
                next = m_Slot.queue.MarkFirst();
            else if (result != WAIT_TIMEOUT && !m_Slot.queue.IsEmpty())
                m_Slot.marks.fetch_or(MARK_AWAITED, std::memory_order_relaxed);
        }
        Wake(next);
        return result;
    }

    /// Leaves the queue for as long as the thread is suspended.
    std::uint32_t StopAndReturn() {
        Wakeup next = nullptr;
        {
            const ScopedLock lock(m_Slot.lock);
            if (!m_Waiter.IsRefused()) {
                m_Slot.queue.Remove(m_Waiter);
                if (m_Waiter.IsWoken())
                    next = m_Slot.queue.MarkFirst();
                m_Waiter.Rearm();
            }
        }
        Wake(next);
        if (!Stop())
            return WAIT_TIMEOUT;
        return m_Waiter.IsRefused() ? WAIT_FAILED : Enter();
    }

    void MarkAwaited() {
        const std::uint32_t marks = m_Slot.marks.fetch_or(MARK_AWAITED, std::memory_order_seq_cst);
        m_IsMarkNew = (marks & MARK_AWAITED) == 0;
    }

    /// Who has set the mark looks at the mutex once more, behind the barrier. A mark that was set
    /// already is the business of the one who set it.
    bool MustLookAgain() {
        if (!m_IsMarkNew)
            return false;
        m_IsMarkNew = false;
        FenceAllThreads();
        return IsFree(m_Slot);
    }

    Slot& m_Slot;
    Handle const m_Handle;
    bool m_IsMarkNew = false;
    Waiter m_Waiter;
};

const AtFork fencesAtFork(ForkOrder::HANDLES, nullptr, nullptr, PrepareFences);

}  // namespace

void FinishRelease(Slot& slot) {
    const StopDeferral untilWoken;
    std::atomic_thread_fence(std::memory_order_seq_cst);
    Wakeup next = nullptr;
    {
        const ScopedLock lock(slot.lock);
        // Whoever has taken it in the meantime finds the mark at its own release.
        if ((slot.marks.load(std::memory_order_relaxed) & MARK_AWAITED) == 0 || !IsFree(slot))
            return;
        slot.marks.fetch_and(~MARK_AWAITED, std::memory_order_relaxed);
        next = slot.queue.MarkFirst();
    }
    Wake(next);
}

std::uint32_t AcquireMutexSlowly(Slot& slot, Handle handle, std::uint32_t milliseconds) {
    // What `AcquireMutexAtOnce` leaves.
    if (Slot* const last = current.released; last != nullptr && IsFree(*last))
        WakeIfAwaited(*last);
    std::uint32_t result = TryAcquire(slot, handle);
    if (result == BLOCKED && milliseconds == 0)
        return WAIT_TIMEOUT;
    if (result == BLOCKED)
        result = TryAcquireForAMoment(slot, handle);
    if (result != BLOCKED)
        return result;
    const StopDeferral untilDecided;
    return MutexWait(slot, handle).Run(Deadline(milliseconds));
}

void AbandonMutexes(std::uint32_t threadId) {
    HandleTable::ForEachUsed([threadId](Slot& slot) {
        if (slot.owner.load(std::memory_order_relaxed) != threadId)
            return;
        {
            const ScopedLock lock(slot.lock);
            const bool isOpen = KindOf(slot.handle.load(std::memory_order_relaxed)) == KIND_MUTEX;
            slot.limit.store(0, std::memory_order_relaxed);
            slot.owner.store(isOpen ? OWNER_ABANDONED : 0, std::memory_order_release);
        }
        FinishRelease(slot);
    });
}

bool EndMutex(Slot& slot) {
    const std::uint32_t owner = slot.owner.load(std::memory_order_relaxed);
    const bool isOwn = owner != 0 && owner == current.locker;
    if (IsHeld(owner) && !isOwn)
        return false;
    if (isOwn)
        current.held = current.held - 1;
    if (owner != 0)
        slot.owner.store(0, std::memory_order_release);
    return true;
}

std::uint32_t FreshMarks() { return canFenceAllThreads ? 0 : MARK_ALWAYS; }

void PrepareFences() {
    canFenceAllThreads = CallMembarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED);
}

void MoveMutexesToForkedThread() {
    const std::uint32_t parentId = AtFork::ParentThreadId();
    HandleTable::ForEachUsed([parentId](Slot& slot) {
        const std::uint32_t owner = slot.owner.load(std::memory_order_relaxed);
        slot.marks.fetch_and(~MARK_AWAITED, std::memory_order_relaxed);
        if (!IsHeld(owner))
            return;
        const bool isKept = owner == parentId;
        const bool isOpen = KindOf(slot.handle.load(std::memory_order_relaxed)) == KIND_MUTEX;
        if (!isKept)
            slot.limit.store(0, std::memory_order_relaxed);
        const std::uint32_t freed = isOpen ? OWNER_NOT_FORKED : 0;
        slot.owner.store(isKept ? current.id : freed, std::memory_order_relaxed);
    });
}

}  // namespace platform
