/// Semaphores and events as words of a slot.
///
/// A word has the tag of the handle in its upper half (see handles.h), and in the lower one a
/// count: an event's is 1 while it is set. An auto-reset event is a semaphore with a maximum of 1
/// to those who wait; a wait for a manual-reset event leaves the count. STATE_WAITERS is set while
/// threads wait; without it a word says all there is to know, and each operation is one exchange of
/// it. A word with it changes under the slot's lock only.
///
/// What is returned or set while threads wait goes to the first of them at once, together with its
/// leaving the queue, so that it can't be given twice nor be lost. A thread that stops before it
/// has seen what it was given hands it on and waits anew when it is resumed.
#ifndef UTILITIES_PLATFORM_LINUX_SYNC_SEMAPHORE_EVENT_H
#define UTILITIES_PLATFORM_LINUX_SYNC_SEMAPHORE_EVENT_H

#include <cstdint>

#include "utilities/platform/linux/sync/handles.h"

namespace platform {

/// Whether the word is that of the handle's object.
inline bool Matches(std::uint64_t word, Handle handle) {
    constexpr std::uint64_t TAG_MASK = 0xFFFFFFFF00000000;
    return (word & TAG_MASK) == TagOf(NumberOf(handle));
}

inline bool IsSignalled(std::uint64_t word) {
    return (static_cast<std::uint32_t>(word) & ~STATE_WAITERS) != 0;
}

/// What the word most likely holds. To load the word itself soon after it was exchanged takes
/// nearly as long as another exchange, so each exchange leaves its result in a field beside the
/// word. It is a guess: only an exchange that succeeds tells that it was right.
inline std::uint64_t GuessWord(const Slot& slot, Handle handle) {
    return TagOf(NumberOf(handle)) | slot.lastState.load(std::memory_order_relaxed);
}

/// Exchanges `word` for `next`. False, with its value in `word`, where the slot's word is another.
inline bool ExchangeWord(Slot& slot, std::uint64_t& word, std::uint64_t next,
                         std::memory_order order) {
    if (!slot.word.compare_exchange_strong(word, next, order, std::memory_order_relaxed))
        return false;
    slot.lastState.store(static_cast<std::uint32_t>(next), std::memory_order_relaxed);
    return true;
}

/// Takes what is there to take. False leaves all to `WaitForSemaphoreOrEvent`.
inline bool TakeAtOnce(Slot& slot, Handle handle) {
    if (KindOf(handle) == KIND_MANUAL_EVENT) {
        const std::uint64_t word = slot.word.load(std::memory_order_acquire);
        return Matches(word, handle) && IsSignalled(word);
    }
    std::uint64_t word = GuessWord(slot, handle);
    return IsSignalled(word) && ExchangeWord(slot, word, word - 1, std::memory_order_acquire);
}

/// Adds one to a semaphore's count. False leaves all to `RaiseCount`.
inline bool RaiseAtOnce(Slot& slot, Handle handle) {
    std::uint64_t word = GuessWord(slot, handle);
    return static_cast<std::uint32_t>(word) < slot.limit.load(std::memory_order_relaxed) &&
           ExchangeWord(slot, word, word + 1, std::memory_order_release);
}

/// Sets an event. False leaves all to `SetEventOf`.
inline bool SetAtOnce(Slot& slot, Handle handle) {
    std::uint64_t word = GuessWord(slot, handle);
    return (word & STATE_WAITERS) == 0 &&
           ExchangeWord(slot, word, word | 1, std::memory_order_release);
}

/// Takes one of a semaphore's count, or waits for the event.
std::uint32_t WaitForSemaphoreOrEvent(Slot& slot, Handle handle, std::uint32_t milliseconds);

/// Adds one to a semaphore's count. False beyond its maximum.
bool RaiseCount(Slot& slot, Handle handle);

bool SetEventOf(Slot& slot, Handle handle);
bool ResetEventOf(Slot& slot, Handle handle);

}  // namespace platform

#endif
