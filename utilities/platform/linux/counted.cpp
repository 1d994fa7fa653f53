#include "utilities/platform/linux/counted.h"

#include "utilities/platform/linux/current.h"

namespace platform {

namespace {

/// The state that a successful wait leaves.
std::uint32_t StateAfterWait(std::uint64_t word) {
    const std::uint32_t state = StateOf(word);
    if (KindOf(word) == KIND_SEMAPHORE)
        return state - 1;
    return (state & EVENT_MANUAL) != 0 ? state : state & ~EVENT_SET;
}

bool IsSignalled(std::uint64_t word) {
    const std::uint32_t mask = KindOf(word) == KIND_SEMAPHORE ? ~STATE_WAITERS : EVENT_SET;
    return (StateOf(word) & mask) != 0;
}

std::uint32_t TryTake(Slot& slot, std::uint64_t tag) {
    std::uint64_t word = slot.word.load(std::memory_order_acquire);
    while (TagOf(word) == tag) {
        if (!IsSignalled(word))
            return BLOCKED;
        const std::uint64_t taken = tag | StateAfterWait(word);
        if (taken == word ||
            slot.word.compare_exchange_weak(word, taken, std::memory_order_acquire))
            return WAIT_OBJECT_0;
    }
    return WAIT_FAILED;
}

/// Goes into the queue unless there is something to take.
std::uint32_t Join(Slot& slot, std::uint64_t tag, Waiter& waiter) {
    const Guard guard(slot.lock);
    for (;;) {
        std::uint64_t word = slot.word.load(std::memory_order_relaxed);
        if (TagOf(word) != tag || IsSignalled(word)) {
            const std::uint32_t result = TryTake(slot, tag);
            if (result != BLOCKED)
                return result;
        } else if (slot.word.compare_exchange_weak(word, word | STATE_WAITERS,
                                                   std::memory_order_relaxed)) {
            slot.queue.Push(waiter);
            return BLOCKED;
        }
    }
}

/// Takes the mark of the queue away where nobody is left. Under the slot's lock, as all changes of
/// a word with the mark.
void UnmarkEmpty(Slot& slot) {
    if (slot.queue.IsEmpty())
        slot.word.fetch_and(~std::uint64_t{STATE_WAITERS}, std::memory_order_relaxed);
}

/// Leaves the queue. False for one that was given something just before.
bool Leave(Slot& slot, Waiter& waiter) {
    const Guard guard(slot.lock);
    if (waiter.IsWoken())
        return false;
    slot.queue.Remove(waiter);
    UnmarkEmpty(slot);
    return true;
}

/// Gives to the first in the queue. False where there is no queue.
bool GiveToWaiter(Slot& slot, std::uint64_t tag) {
    const std::atomic<std::uint32_t>* first = nullptr;
    {
        const Guard guard(slot.lock);
        if (TagOf(slot.word.load(std::memory_order_relaxed)) != tag)
            return false;
        first = slot.queue.Pop();
        UnmarkEmpty(slot);
    }
    if (first != nullptr)
        FutexWake(first, 1);
    return first != nullptr;
}

/// Gives to all in the queue, and leaves the event set.
bool SetManualEvent(Slot& slot, std::uint64_t tag) {
    const Guard guard(slot.lock);
    if (TagOf(slot.word.load(std::memory_order_relaxed)) != tag)
        return false;
    slot.word.store(tag | EVENT_MANUAL | EVENT_SET, std::memory_order_release);
    slot.queue.WakeAll();
    return true;
}

/// What a waiter got that dies before it can use it.
void GiveBack(Slot& slot, std::uint64_t tag) {
    if (KindOf(tag) == KIND_SEMAPHORE)
        ReturnUnit(slot, tag);
    else if ((StateOf(slot.word.load(std::memory_order_relaxed)) & EVENT_MANUAL) == 0)
        Set(slot, tag);
}

}  // namespace

std::uint32_t WaitForCounted(Slot& slot, std::uint64_t tag, std::uint32_t milliseconds) {
    std::uint32_t result = TryTake(slot, tag);
    if (result != BLOCKED)
        return result;
    if (milliseconds == 0)
        return WAIT_TIMEOUT;
    const HoldOff hold;
    Waiter waiter;
    result = Join(slot, tag, waiter);
    if (result != BLOCKED)
        return result;
    if (!waiter.Sleep(Deadline(milliseconds)) && Leave(slot, waiter))
        return WAIT_TIMEOUT;
    if (waiter.IsRefused())
        return WAIT_FAILED;
    if (MustDie())
        GiveBack(slot, tag);
    return WAIT_OBJECT_0;
}

bool ReturnUnit(Slot& slot, std::uint64_t tag) {
    std::uint64_t word = slot.word.load(std::memory_order_relaxed);
    while (TagOf(word) == tag) {
        if ((StateOf(word) & STATE_WAITERS) != 0) {
            if (GiveToWaiter(slot, tag))
                return true;
            word = slot.word.load(std::memory_order_relaxed);
        } else if (StateOf(word) >= slot.limit.load(std::memory_order_relaxed)) {
            return false;
        } else if (slot.word.compare_exchange_weak(word, word + 1, std::memory_order_release,
                                                   std::memory_order_relaxed)) {
            return true;
        }
    }
    return false;
}

bool Set(Slot& slot, std::uint64_t tag) {
    std::uint64_t word = slot.word.load(std::memory_order_relaxed);
    while (TagOf(word) == tag) {
        if ((StateOf(word) & STATE_WAITERS) != 0) {
            const bool manual = (StateOf(word) & EVENT_MANUAL) != 0;
            if (manual ? SetManualEvent(slot, tag) : GiveToWaiter(slot, tag))
                return true;
            word = slot.word.load(std::memory_order_relaxed);
        } else if (slot.word.compare_exchange_weak(word, word | EVENT_SET,
                                                   std::memory_order_release,
                                                   std::memory_order_relaxed)) {
            return true;
        }
    }
    return false;
}

bool Reset(Slot& slot, std::uint64_t tag) {
    std::uint64_t word = slot.word.load(std::memory_order_relaxed);
    while (TagOf(word) == tag) {
        if (slot.word.compare_exchange_weak(word, word & ~std::uint64_t{EVENT_SET},
                                            std::memory_order_acq_rel, std::memory_order_relaxed))
            return true;
    }
    return false;
}

}  // namespace platform
