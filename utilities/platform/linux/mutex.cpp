#include "utilities/platform/linux/mutex.h"

#include "utilities/platform/linux/current.h"

namespace platform {

namespace {

constexpr int LONGEST_PAUSE = 128;

std::uint32_t OwnerOf(std::uint64_t word) {
    return StateOf(word) & ~(STATE_WAITERS | STATE_ABANDONED);
}

/// Takes the mutex if it is free. The caller has it already only where it can't get any deeper. Of
/// the state's marks those in `kept` stay, and
/// `added` comes to them.
std::uint32_t TryAcquire(Slot& slot, std::uint64_t tag, std::uint32_t kept, std::uint32_t added) {
    const std::uint32_t self = LockerId();
    std::uint64_t word = slot.word.load(std::memory_order_relaxed);
    while (TagOf(word) == tag) {
        if (OwnerOf(word) == self)
            return WAIT_FAILED;
        if (OwnerOf(word) != 0)
            return BLOCKED;
        const std::uint64_t taken = tag | self | (StateOf(word) & kept) | added;
        if (slot.word.compare_exchange_weak(word, taken, std::memory_order_acquire,
                                            std::memory_order_relaxed))
            return (StateOf(word) & STATE_ABANDONED) != 0 ? WAIT_ABANDONED : WAIT_OBJECT_0;
    }
    return WAIT_FAILED;
}

/// Spins for a moment, as most holders are about to leave. It looks ever less often, as each look
/// takes the cache line from the holder.
std::uint32_t TryAcquireForAMoment(Slot& slot, std::uint64_t tag) {
    for (int pauses = 1; pauses <= LONGEST_PAUSE; pauses *= 2) {
        for (int i = 0; i < pauses; ++i)
            Pause();
        if (OwnerOf(slot.word.load(std::memory_order_relaxed)) == 0) {
            const std::uint32_t result = TryAcquire(slot, tag, STATE_WAITERS, 0);
            if (result != BLOCKED)
                return result;
        }
    }
    return BLOCKED;
}

/// Sets the mark of the queue, so that the holder's release comes to the queue. False where there
/// is no holder any more.
bool MarkAwaited(Slot& slot, std::uint64_t tag) {
    std::uint64_t word = slot.word.load(std::memory_order_relaxed);
    while (TagOf(word) == tag && OwnerOf(word) != 0) {
        if (slot.word.compare_exchange_weak(word, word | STATE_WAITERS, std::memory_order_relaxed))
            return true;
    }
    return false;
}

/// One in the queue. While the queue isn't empty, either the mark is set or the first has been
/// woken and sees to it; so the duty goes to the next when the first leaves without the mutex.
class MutexWait {
public:
    MutexWait(Slot& mutex, std::uint64_t handleTag) : slot(mutex), tag(handleTag) {}

    std::uint32_t Run(const Deadline& deadline) {
        std::uint32_t result = Join();
        while (result == BLOCKED) {
            const bool woken = waiter.Sleep(deadline);
            result = MustDie() ? Leave() : Retry(!woken);
        }
        return result;
    }

private:
    std::uint32_t Join() {
        const Guard guard(slot.lock);
        std::uint32_t result;
        do {
            result = TryAcquire(slot, tag, STATE_WAITERS, 0);
        } while (result == BLOCKED && !MarkAwaited(slot, tag));
        if (result == BLOCKED)
            slot.queue.Push(waiter);
        return result;
    }

    std::uint32_t Retry(bool timeIsUp) {
        const Guard guard(slot.lock);
        if (IsClosed())
            return WAIT_FAILED;
        waiter.Rearm();
        do {
            const std::uint32_t others = slot.queue.IsOnly(waiter) ? 0 : STATE_WAITERS;
            const std::uint32_t result = TryAcquire(slot, tag, 0, others);
            if (result != BLOCKED) {
                slot.queue.Remove(waiter);
                return result;
            }
            if (timeIsUp)
                return PassOn();
        } while (!MarkAwaited(slot, tag));
        return BLOCKED;
    }

    std::uint32_t Leave() {
        const Guard guard(slot.lock);
        return IsClosed() ? WAIT_FAILED : PassOn();
    }

    std::uint32_t PassOn() {
        slot.queue.Remove(waiter);
        if (!slot.queue.IsEmpty() && !MarkAwaited(slot, tag)) {
            if (const std::atomic<std::uint32_t>* const next = slot.queue.MarkFirst())
                FutexWake(next, 1);
        }
        return WAIT_TIMEOUT;
    }

    /// Then all were taken out of the queue.
    bool IsClosed() const { return TagOf(slot.word.load(std::memory_order_relaxed)) != tag; }

    Slot& slot;
    std::uint64_t tag;
    Waiter waiter;
};

/// Frees the mutex that `owner` holds, with its last acquisition or all of them. The first in the
/// queue competes for it with those that come by.
bool Free(Slot& slot, std::uint64_t tag, std::uint32_t owner, std::uint32_t state) {
    const std::atomic<std::uint32_t>* next;
    {
        const Guard guard(slot.lock);
        std::uint64_t word = slot.word.load(std::memory_order_relaxed);
        if (TagOf(word) != tag || OwnerOf(word) != owner)
            return false;
        slot.depth.store(tag, std::memory_order_relaxed);
        slot.word.store(tag | state, std::memory_order_release);
        next = slot.queue.MarkFirst();
    }
    if (next != nullptr)
        FutexWake(next, 1);
    return true;
}

}  // namespace

std::uint32_t AcquireMutexSlowly(Slot& slot, std::uint64_t tag, std::uint32_t milliseconds) {
    std::uint32_t result = TryAcquire(slot, tag, STATE_WAITERS, 0);
    if (result == BLOCKED && milliseconds == 0)
        return WAIT_TIMEOUT;
    if (result == BLOCKED)
        result = TryAcquireForAMoment(slot, tag);
    if (result != BLOCKED)
        return result;
    const HoldOff hold;
    return MutexWait(slot, tag).Run(Deadline(milliseconds));
}

bool ReleaseMutexSlowly(Slot& slot, std::uint64_t tag) {
    const std::uint32_t self = current.locker;
    const std::uint64_t word = slot.word.load(std::memory_order_relaxed);
    if (self == 0 || TagOf(word) != tag || OwnerOf(word) != self)
        return false;
    return Free(slot, tag, self, 0);
}

void AbandonMutexes(std::uint32_t threadId) {
    HandleTable::ForEachUsed([threadId](Slot& slot) {
        const std::uint64_t word = slot.word.load(std::memory_order_relaxed);
        if (KindOf(word) == KIND_MUTEX && OwnerOf(word) == threadId)
            Free(slot, TagOf(word), threadId, STATE_ABANDONED);
    });
}

void MoveMutexesToForkedThread(std::uint32_t oldId, std::uint32_t newId) {
    HandleTable::ForEachUsed([oldId, newId](Slot& slot) {
        const std::uint64_t word = slot.word.load(std::memory_order_relaxed);
        if (KindOf(word) != KIND_MUTEX || StateOf(word) == 0)
            return;
        const bool kept = OwnerOf(word) == oldId && oldId != 0;
        if (!kept)
            slot.depth.store(TagOf(word), std::memory_order_relaxed);
        slot.word.store(TagOf(word) | (kept ? newId : STATE_ABANDONED), std::memory_order_relaxed);
    });
}

}  // namespace platform
