/// Mutexes as states of a slot. Each operation fails where the handle's tag is no longer the
/// slot's.
#ifndef UTILITIES_PLATFORM_LINUX_MUTEX_H
#define UTILITIES_PLATFORM_LINUX_MUTEX_H

#include <cstdint>

#include "utilities/platform/linux/handles.h"

namespace platform {

/// A mutex's state: the holder's thread id, STATE_WAITERS, STATE_ABANDONED while nobody holds it
/// since its holder's thread ended.
inline constexpr std::uint32_t STATE_ABANDONED = 0x40000000;

/// What is left to do where the mutex wasn't simply free.
std::uint32_t AcquireMutexSlowly(Slot& slot, std::uint64_t tag, std::uint32_t milliseconds);
bool ReleaseMutexSlowly(Slot& slot, std::uint64_t tag);

/// Frees all that the thread holds, for the next to know.
void AbandonMutexes(std::uint32_t threadId);

/// In the child of a fork, where one thread goes on under another id, and what the others held is
/// abandoned.
void MoveMutexesToForkedThread(std::uint32_t oldId, std::uint32_t newId);

}  // namespace platform

#endif
