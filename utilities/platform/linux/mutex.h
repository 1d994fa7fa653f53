/// Mutexes as states of a slot. Each operation fails where the handle's tag is no longer the
/// slot's.
#ifndef UTILITIES_PLATFORM_LINUX_MUTEX_H
#define UTILITIES_PLATFORM_LINUX_MUTEX_H

#include <cstdint>

#include "utilities/platform/linux/current.h"
#include "utilities/platform/linux/handles.h"

namespace platform {

/// A mutex's state: the holder's thread id, STATE_WAITERS, STATE_ABANDONED while nobody holds it
/// since its holder's thread ended.
inline constexpr std::uint32_t STATE_ABANDONED = 0x40000000;

inline constexpr std::uint32_t DEEPEST = 0xFFFFFFFF;

/// How many nested acquisitions the holder has. Only it changes them, so that takes no exchange;
/// the tag beside the count tells what a late call left of a mutex that was here before.
inline std::uint32_t DepthOf(const Slot& slot, std::uint64_t tag) {
    const std::uint64_t depth = slot.depth.load(std::memory_order_relaxed);
    return TagOf(depth) == tag ? StateOf(depth) : 0;
}

inline bool SetDepth(Slot& slot, std::uint64_t tag, std::uint32_t depth) {
    slot.depth.store(tag | depth, std::memory_order_relaxed);
    return true;
}

inline bool IsHeldBy(std::uint64_t word, std::uint64_t tag, std::uint32_t self) {
    return self != 0 && (word & ~std::uint64_t{STATE_WAITERS}) == (tag | self);
}

/// Takes the mutex where it is free or the caller's. False leaves all to `AcquireMutexSlowly`.
inline bool AcquireMutexAtOnce(Slot& slot, std::uint64_t tag) {
    const std::uint32_t self = current.locker;
    std::uint64_t word = slot.word.load(std::memory_order_relaxed);
    if (word == tag)
        return self != 0 &&
               slot.word.compare_exchange_strong(word, tag | self, std::memory_order_acquire,
                                                 std::memory_order_relaxed);
    const std::uint32_t depth = DepthOf(slot, tag);
    return IsHeldBy(word, tag, self) && depth != DEEPEST && SetDepth(slot, tag, depth + 1);
}

/// Gives up one of the caller's acquisitions where nobody waits for it. False leaves all to
/// `ReleaseMutexSlowly`.
inline bool ReleaseMutexAtOnce(Slot& slot, std::uint64_t tag) {
    std::uint64_t word = slot.word.load(std::memory_order_relaxed);
    if (!IsHeldBy(word, tag, current.locker))
        return false;
    if (const std::uint32_t depth = DepthOf(slot, tag); depth != 0)
        return SetDepth(slot, tag, depth - 1);
    return (word & STATE_WAITERS) == 0 &&
           slot.word.compare_exchange_strong(word, tag, std::memory_order_release,
                                             std::memory_order_relaxed);
}

/// What is left to do behind these.
std::uint32_t AcquireMutexSlowly(Slot& slot, std::uint64_t tag, std::uint32_t milliseconds);
bool ReleaseMutexSlowly(Slot& slot, std::uint64_t tag);

/// Frees all that the thread holds, for the next to know.
void AbandonMutexes(std::uint32_t threadId);

/// In the child of a fork, where one thread goes on under another id, and what the others held is
/// abandoned.
void MoveMutexesToForkedThread(std::uint32_t oldId, std::uint32_t newId);

}  // namespace platform

#endif
