/// The table of the objects behind the handles.
///
/// A handle is a number: the kind of the object (3 bits), the index of a slot (18 bits), and how
/// often the slot was used (43 bits). A slot holds the handle of the object that lives in it now,
/// so a handle that was closed or never given out matches no slot. Slots are never given back to
/// the system while an object is open, so a late call reads valid memory. The table grows by
/// chunks; a chunk that was never needed takes no memory.
///
/// What a call does after it compared the handle can still meet a slot that was closed, and opened
/// again for another object, in between. Each kind excludes harm in its own way: a mutex looks at
/// the handle again after it took the owner's field; semaphores and events carry the lower half of
/// the count of uses in the word that they exchange. The free slots form a queue, so that a slot is
/// used again as late as possible, and one whose mutex was closed while another thread held it
/// waits until that thread has let go or ended: its release is a plain store, without a look at the
/// handle behind it.
#ifndef UTILITIES_PLATFORM_LINUX_SYNC_HANDLES_H
#define UTILITIES_PLATFORM_LINUX_SYNC_HANDLES_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "utilities/platform/inspection.h"
#include "utilities/platform/linux/sync/waitqueue.h"

namespace platform {

struct ThreadRecord;

enum Kind : std::uint32_t {
    KIND_NONE,
    KIND_MUTEX,
    KIND_THREAD,
    KIND_MANUAL_EVENT,
    KIND_EVENT,
    KIND_SEMAPHORE,
};

struct alignas(64) Slot {
    std::atomic<std::uint64_t> handle{0};  ///< Of kind KIND_NONE while the slot is free.
    std::atomic<std::uint32_t> owner{0};   ///< Of a mutex, see mutex.h.
    std::atomic<std::uint32_t> marks{0};   ///< Of a mutex, see mutex.h.
    std::atomic<std::uint64_t> word{0};    ///< Of a semaphore or event, see semaphore_event.h.
    std::atomic<std::uint32_t> limit{0};   ///< Of a semaphore; of a mutex, its depth.
    FutexLock lock;                        ///< Guards what follows, and the closing.
    WaitQueue queue;
    ThreadRecord* thread = nullptr;
    std::uint32_t nextFree = 0;               ///< In a queue of closed slots.
    std::atomic<std::uint32_t> lastState{0};  ///< Beside `word`: see semaphore_event.h.
};
static_assert(sizeof(Slot) == 64, "one object a cache line");

inline constexpr unsigned KIND_BITS = 3;
inline constexpr unsigned INDEX_BITS = 18;
inline constexpr std::uint32_t SLOT_LIMIT = 1u << INDEX_BITS;

inline std::uint64_t NumberOf(Handle handle) { return reinterpret_cast<std::uintptr_t>(handle); }
inline Kind KindOf(std::uint64_t handle) {
    return static_cast<Kind>(handle & ((1u << KIND_BITS) - 1));
}
inline Kind KindOf(Handle handle) { return KindOf(NumberOf(handle)); }
inline std::uint32_t IndexOf(std::uint64_t handle) {
    return static_cast<std::uint32_t>(handle >> KIND_BITS) & (SLOT_LIMIT - 1);
}

/// In the word of a semaphore or event: threads wait in the queue.
inline constexpr std::uint32_t STATE_WAITERS = 0x80000000;

/// The lower half of the count of uses, in the upper half of a word.
inline std::uint64_t TagOf(std::uint64_t handle) {
    return handle >> (INDEX_BITS + KIND_BITS) << 32;
}

inline bool IsOpen(const Slot& slot, Handle handle) {
    return slot.handle.load(std::memory_order_acquire) == NumberOf(handle);
}

class HandleTable {
public:
    /// The slot that the handle names, null where the table has none. The slot's own handle tells
    /// whether the object is still the same.
    static Slot* Find(Handle handle) {
        constexpr std::uint64_t BEYOND_FIRST = (SLOT_LIMIT - CHUNK_SIZE) << KIND_BITS;
        const std::uint32_t index = IndexOf(NumberOf(handle));
        if ((NumberOf(handle) & BEYOND_FIRST) == 0) [[likely]]
            return &firstChunk[index % CHUNK_SIZE];
        Slot* const chunk = chunks[index / CHUNK_SIZE].load(std::memory_order_acquire);
        return chunk != nullptr ? chunk + index % CHUNK_SIZE : nullptr;
    }

    /// The slot of an index that is in use or was.
    static Slot& At(std::uint32_t index) {
        return chunks[index / CHUNK_SIZE].load(std::memory_order_relaxed)[index % CHUNK_SIZE];
    }

    /// Opens an object: `state` is what its word holds beside the tag, `thread` what a handle to a
    /// thread refers to. Null when the table is full or out of memory.
    static Handle Open(Kind kind, std::uint32_t state, std::uint32_t limit, ThreadRecord* thread);

    /// Ends the handle and fails the waits for its object. False for one that isn't open. A
    /// thread's record, which the handle referred to, goes to `thread`.
    static bool Close(Handle handle, ThreadRecord*& thread);

    template <typename Action>
    static void ForEachUsed(Action action) {
        const std::uint32_t end = used.load(std::memory_order_acquire);
        for (std::uint32_t index = 0; index < end; ++index)
            action(At(index));
    }

    /// At the unload: gives the memory back if no object is open any more. Where some are open the
    /// process is about to exit, with threads that still use them.
    static void Release();

    static constexpr InspectedHandles Inspected() { return {&chunks, &used}; }

private:
    static constexpr std::uint32_t CHUNK_SIZE = 256;

    static Slot* Take();
    static Slot* TakeUnused();
    static Slot* MapChunk();

    /// Part of the library, so that the first objects can be had even where memory is short (the
    /// library's own mutex is among them) and are found without a look at the table.
    static constinit std::array<Slot, CHUNK_SIZE> firstChunk;
    static constinit std::array<std::atomic<Slot*>, SLOT_LIMIT / CHUNK_SIZE> chunks;
    static constinit std::atomic<std::uint32_t> used;  ///< Slots that were ever in use.
};

}  // namespace platform

#endif
