/// The table in which every `MutexLock` publishes its state.
///
/// It is written and read by threads without a lock, and is usable before any constructor has run.
#ifndef UTILITIES_LOCKS_REGISTRY_INTERNAL_H
#define UTILITIES_LOCKS_REGISTRY_INTERNAL_H

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "utilities/frame/relaxed.h"

inline constexpr std::uint16_t MUTEX_RECORDS = 800;
inline constexpr std::size_t MUTEX_NAME_SIZE = 24;

/// The values of `MutexDbgEntry::InUse`. A record that is being prepared belongs to nobody's
/// listing yet: what its last user left in it means nothing any more.
enum : std::uint8_t { RECORD_FREE = 0, RECORD_IN_USE = 1, RECORD_IN_PREPARATION = 2 };

/// The state of one mutex. On a cache line of its own, so that mutexes side by side don't slow each
/// other down.
struct alignas(64) MutexDbgEntry {
    std::atomic<std::uint8_t> InUse;
    /// The holder has taken it by `TryLock`, which leaves `LockTime` as it was.
    Relaxed<bool> IsUntimed;
    /// `clock()` at the last first-level `Lock`. Set before `Owner`, so that who sees an owner sees
    /// its stamp, and no older one.
    std::atomic<std::uint32_t> LockTime;
    Relaxed<char> Name[MUTEX_NAME_SIZE];  ///< Zero-filled, or full and without a terminator.
    std::atomic<std::uint32_t> Owner;     ///< Thread id, 0 when the mutex is free.
    Relaxed<std::uint32_t> Waiter[5];     ///< Ids of threads inside `Lock`, 0 for a free slot.
    /// How often the record was taken. Raised while it is being prepared, so that a reader can tell
    /// whether all that it read belongs to one mutex.
    std::atomic<std::uint32_t> Uses;
    Relaxed<std::uint32_t> Handle;  ///< The lower half of the mutex's handle, for a debugger.
};
static_assert(sizeof(MutexDbgEntry) == 64, "as gdb/libUtilities-gdb.py reads it");

extern MutexDbgEntry MutexDbgList[MUTEX_RECORDS];

/// How many records were ever used: those behind have never been looked at.
extern std::atomic<std::uint16_t> MutexDbgCount;

/// Takes the first free record, empties it and names it: `name`, or MTX_ and the index where that
/// has fewer than two characters. `handle` is that of the mutex. In a full table, which is told on
/// the `cout` stream, the last record is shared as it is. Returns the index.
std::uint16_t TakeMutexRecord(const char* name, const void* handle);

void NameMutexRecord(MutexDbgEntry& record, const char* name);

/// Frees the waiter slots in which a thread stands that has been killed: it can't do so itself, and
/// would count as a waiter for ever.
void ForgetMutexWaiter(std::uint32_t threadId);

#endif
