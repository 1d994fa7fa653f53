#include "utilities/platform/linux/sync/semaphore_event.h"

#include "utilities/platform/linux/sync/stopping.h"

namespace platform {

namespace {

constexpr std::uint64_t WAITERS = STATE_WAITERS;

std::uint32_t TryTake(Slot& slot, Handle handle) {
    const bool isManual = KindOf(handle) == KIND_MANUAL_EVENT;
    std::uint64_t word = slot.word.load(std::memory_order_acquire);
    while (Matches(word, handle)) {
        if (!IsSignalled(word))
            return BLOCKED;
        if (isManual || ExchangeWord(slot, word, word - 1, std::memory_order_acquire))
            return WAIT_OBJECT_0;
    }
    return WAIT_FAILED;
}

/// Goes into the queue unless there is something to take.
std::uint32_t Enter(Slot& slot, Handle handle, Waiter& waiter) {
    const ScopedLock lock(slot.lock);
    for (;;) {
        std::uint64_t word = slot.word.load(std::memory_order_relaxed);
        if (!Matches(word, handle) || IsSignalled(word)) {
            const std::uint32_t result = TryTake(slot, handle);
            if (result != BLOCKED)
                return result;
        } else if (ExchangeWord(slot, word, word | WAITERS, std::memory_order_relaxed)) {
            slot.queue.Push(waiter);
            return BLOCKED;
        }
    }
}

/// Under the slot's lock, after a waiter left the queue.
void UnmarkEmpty(Slot& slot) {
    if (!slot.queue.IsEmpty())
        return;
    const std::uint64_t before = slot.word.fetch_and(~WAITERS, std::memory_order_relaxed);
    slot.lastState.store(static_cast<std::uint32_t>(before & ~WAITERS), std::memory_order_relaxed);
}

/// Leaves the queue. False for a waiter that was given something just before.
bool Leave(Slot& slot, Waiter& waiter) {
    const ScopedLock lock(slot.lock);
    if (waiter.IsWoken())
        return false;
    slot.queue.Remove(waiter);
    UnmarkEmpty(slot);
    return true;
}

/// Gives to the first in the queue. False where there is no queue. The deferral lasts until the
/// waiter has been woken.
bool GiveToWaiter(Slot& slot, Handle handle) {
    const StopDeferral untilWoken;
    Wakeup first = nullptr;
    {
        const ScopedLock lock(slot.lock);
        if (!Matches(slot.word.load(std::memory_order_relaxed), handle))
            return false;
        first = slot.queue.Pop();
        UnmarkEmpty(slot);
    }
    Wake(first);
    return first != nullptr;
}

/// Gives to all in the queue, and leaves the event set.
bool SetManualEvent(Slot& slot, Handle handle) {
    const ScopedLock lock(slot.lock);
    if (!Matches(slot.word.load(std::memory_order_relaxed), handle))
        return false;
    slot.word.store(TagOf(NumberOf(handle)) | 1, std::memory_order_release);
    slot.lastState.store(1, std::memory_order_relaxed);
    slot.queue.WakeAll();
    return true;
}

/// Hands on what a waiter was given that doesn't use it. All waiters of a manual-reset event were
/// given the same, so there is nothing to hand on.
void GiveBack(Slot& slot, Handle handle) {
    if (KindOf(handle) == KIND_SEMAPHORE)
        RaiseCount(slot, handle);
    else if (KindOf(handle) == KIND_EVENT)
        SetEventOf(slot, handle);
}

/// Whether a waiter that stopped starts again; then it is out of the queue with nothing in its
/// hands. A set of a manual-reset event that it has seen counts, whatever became of it since.
bool StopAndStartAgain(Slot& slot, Handle handle, Waiter& waiter) {
    const bool isGiven = !Leave(slot, waiter);
    if (isGiven && !waiter.IsRefused())
        GiveBack(slot, handle);
    const bool isManual = KindOf(handle) == KIND_MANUAL_EVENT;
    const bool isDone = isGiven && (isManual || waiter.IsRefused());
    return Stop() && !isDone;
}

std::uint32_t WaitInQueue(Slot& slot, Handle handle, const Deadline& deadline) {
    for (;;) {
        Waiter waiter;
        const std::uint32_t result = Enter(slot, handle, waiter);
        if (result != BLOCKED)
            return result;
        switch (waiter.Sleep(deadline)) {
            case Waiter::Outcome::WOKEN:
                break;
            case Waiter::Outcome::TIMED_OUT:
                if (Leave(slot, waiter))
                    return WAIT_TIMEOUT;
                break;
            case Waiter::Outcome::STOP_AGREED:
                if (StopAndStartAgain(slot, handle, waiter))
                    continue;
                break;
        }
        return waiter.IsRefused() ? WAIT_FAILED : WAIT_OBJECT_0;
    }
}

}  // namespace

std::uint32_t WaitForSemaphoreOrEvent(Slot& slot, Handle handle, std::uint32_t milliseconds) {
    const std::uint32_t result = TryTake(slot, handle);
    if (result != BLOCKED)
        return result;
    if (milliseconds == 0)
        return WAIT_TIMEOUT;
    const StopDeferral untilDecided;
    return WaitInQueue(slot, handle, Deadline(milliseconds));
}

bool RaiseCount(Slot& slot, Handle handle) {
    std::uint64_t word = slot.word.load(std::memory_order_relaxed);
    while (Matches(word, handle)) {
        if ((word & WAITERS) != 0) {
            if (GiveToWaiter(slot, handle))
                return true;
            word = slot.word.load(std::memory_order_relaxed);
        } else if (static_cast<std::uint32_t>(word) >= slot.limit.load(std::memory_order_relaxed)) {
            return false;
        } else if (ExchangeWord(slot, word, word + 1, std::memory_order_release)) {
            return true;
        }
    }
    return false;
}

bool SetEventOf(Slot& slot, Handle handle) {
    const bool isManual = KindOf(handle) == KIND_MANUAL_EVENT;
    std::uint64_t word = slot.word.load(std::memory_order_relaxed);
    while (Matches(word, handle)) {
        if ((word & WAITERS) != 0) {
            if (isManual ? SetManualEvent(slot, handle) : GiveToWaiter(slot, handle))
                return true;
            word = slot.word.load(std::memory_order_relaxed);
        } else if (ExchangeWord(slot, word, word | 1, std::memory_order_release)) {
            return true;
        }
    }
    return false;
}

bool ResetEventOf(Slot& slot, Handle handle) {
    std::uint64_t word = slot.word.load(std::memory_order_relaxed);
    while (Matches(word, handle)) {
        if (ExchangeWord(slot, word, word & ~std::uint64_t{1}, std::memory_order_acq_rel))
            return true;
    }
    return false;
}

}  // namespace platform
