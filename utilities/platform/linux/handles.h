/// The table behind the handles.
///
/// A handle is a number: the slot's index in the lower half, its tag in the upper. A tag is the
/// kind of the object and how often the slot was used before. A slot's word has the present tag in
/// its upper half, and the object's state in the lower: every step on an object is a compare and
/// exchange of the whole word, which fails where the handle was closed. Slots stay where they are
/// for as long as the library is loaded, so a late call reads valid memory.
#ifndef UTILITIES_PLATFORM_LINUX_HANDLES_H
#define UTILITIES_PLATFORM_LINUX_HANDLES_H

#include <atomic>
#include <cstdint>

#include "utilities/platform/linux/waiting.h"

namespace platform {

struct ThreadRecord;

enum Kind : std::uint32_t { KIND_NONE, KIND_MUTEX, KIND_SEMAPHORE, KIND_EVENT, KIND_THREAD };

struct alignas(64) Slot {
    std::atomic<std::uint64_t> word{0};
    std::atomic<std::uint64_t> depth{0};  ///< Of a mutex: the tag, and the nested acquisitions.
    std::atomic<std::uint32_t> limit{0};  ///< The maximum of a semaphore.
    Lock lock;                            ///< Guards what follows, and the closing.
    WaitQueue queue;
    ThreadRecord* thread = nullptr;
    Slot* nextFree = nullptr;
};

inline constexpr std::uint32_t SLOT_LIMIT = 1u << 18;

/// In every state: somebody waits in the queue. Without it a word says all there is to know.
inline constexpr std::uint32_t STATE_WAITERS = 0x80000000;

class HandleTable {
public:
    /// Null for what can't be a handle of this table.
    static Slot* Find(Handle handle) {
        const auto index = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(handle));
        return index < used.load(std::memory_order_acquire) ? At(index) : nullptr;
    }
    /// Null when the table is full.
    static Handle Open(Kind kind, std::uint32_t state, std::uint32_t limit, ThreadRecord* thread);
    /// Ends the handle and fails those that wait. False for one that isn't open. A thread's record,
    /// which the handle held, goes to `thread`.
    static bool Close(Handle handle, ThreadRecord*& thread);

    template <typename Action>
    static void ForEachUsed(Action action) {
        const std::uint32_t end = used.load(std::memory_order_acquire);
        for (std::uint32_t index = 0; index < end; ++index)
            action(*At(index));
    }

    static void BeforeFork();
    static void AfterFork();

private:
    static Slot* At(std::uint32_t index);
    static Slot* Take();

    static constinit std::atomic<std::uint32_t> used;  ///< Slots that were ever in use.
};

/// The tag in the place where words have it.
inline std::uint64_t TagOf(Handle handle) {
    return reinterpret_cast<std::uintptr_t>(handle) & 0xFFFFFFFF00000000;
}
inline std::uint64_t TagOf(std::uint64_t word) { return word & 0xFFFFFFFF00000000; }
inline std::uint32_t StateOf(std::uint64_t word) { return static_cast<std::uint32_t>(word); }
inline Kind KindOf(std::uint64_t tag) { return static_cast<Kind>(tag >> 32 & 7); }
inline Kind KindOf(Handle handle) { return KindOf(TagOf(handle)); }

}  // namespace platform

#endif
