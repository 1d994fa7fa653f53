/// Semaphores and events as words of a slot.
///
/// A word has the tag of the handle in its upper half (see handles.h). The lower half of a
/// semaphore is its count; that of an event has EVENT_SET and EVENT_MANUAL. STATE_WAITERS is set
/// while threads wait; without it a word says all there is to know, and each operation is one
/// exchange of it. A word with it changes under the slot's lock only.
///
/// What is returned or set while threads wait goes to the first of them at once, together with its
/// leaving the queue, so that it can't be given twice nor be lost. A thread that stops before it
/// has seen what it was given hands it on and waits anew when it is resumed.
#ifndef UTILITIES_PLATFORM_LINUX_SYNC_SEMAPHORE_EVENT_H
#define UTILITIES_PLATFORM_LINUX_SYNC_SEMAPHORE_EVENT_H

#include <cstdint>

#include "utilities/platform/linux/sync/handles.h"

namespace platform {

inline constexpr std::uint32_t EVENT_SET = 1;
inline constexpr std::uint32_t EVENT_MANUAL = 2;

/// Whether the word is that of the handle's object.
inline bool Matches(std::uint64_t word, Handle handle) {
    constexpr std::uint64_t TAG_MASK = 0xFFFFFFFF00000000;
    return (word & TAG_MASK) == TagOf(NumberOf(handle));
}

inline bool IsSignalled(Kind kind, std::uint64_t word) {
    const std::uint32_t mask = kind == KIND_SEMAPHORE ? ~STATE_WAITERS : EVENT_SET;
    return (static_cast<std::uint32_t>(word) & mask) != 0;
}

/// The word that a successful wait leaves.
inline std::uint64_t WordAfterWait(Kind kind, std::uint64_t word) {
    if (kind == KIND_SEMAPHORE)
        return word - 1;
    return (word & EVENT_MANUAL) != 0 ? word : word & ~std::uint64_t{EVENT_SET};
}

/// Takes what is there to take by one exchange. False leaves all to `WaitForSemaphoreOrEvent`.
inline bool TakeAtOnce(Slot& slot, Handle handle, Kind kind) {
    std::uint64_t word = slot.word.load(std::memory_order_acquire);
    if (!Matches(word, handle) || !IsSignalled(kind, word))
        return false;
    const std::uint64_t taken = WordAfterWait(kind, word);
    return taken == word ||
           slot.word.compare_exchange_strong(word, taken, std::memory_order_acquire);
}

/// Takes one of a semaphore's count, or waits for the event.
std::uint32_t WaitForSemaphoreOrEvent(Slot& slot, Handle handle, std::uint32_t milliseconds);

/// Adds one to a semaphore's count. False beyond its maximum.
bool RaiseCount(Slot& slot, Handle handle);

bool SetEventOf(Slot& slot, Handle handle);
bool ResetEventOf(Slot& slot, Handle handle);

}  // namespace platform

#endif
