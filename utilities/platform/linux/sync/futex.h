/// Sleeping on a word of memory.
#ifndef UTILITIES_PLATFORM_LINUX_SYNC_FUTEX_H
#define UTILITIES_PLATFORM_LINUX_SYNC_FUTEX_H

#include <atomic>
#include <cstdint>

#include "utilities/platform/linux/sync/deadline.h"

namespace platform {

/// Sleeps while `word` holds `expected`. False once the time is up; true means only that the word
/// is to be looked at again.
bool FutexWait(const std::atomic<std::uint32_t>& word, std::uint32_t expected,
               const Deadline& deadline);

/// Wakes `count` sleepers. Only the address counts: the word itself may be gone.
void FutexWake(const std::atomic<std::uint32_t>* word, int count);

}  // namespace platform

#endif
