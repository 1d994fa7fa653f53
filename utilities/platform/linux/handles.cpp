#include "utilities/platform/linux/handles.h"

#include <cstddef>
#include <new>

namespace platform {

namespace {

constexpr std::uint64_t NEXT_USE = std::uint64_t{8} << 32;
constexpr std::uint64_t KIND_MASK = std::uint64_t{7} << 32;

// Untouched pages of it cost nothing, and it ends with the library.
alignas(Slot) std::byte storage[SLOT_LIMIT * sizeof(Slot)];

constinit Lock tableLock;
constinit Slot* freeSlots = nullptr;

}  // namespace

constinit std::atomic<std::uint32_t> HandleTable::used{0};

Slot* HandleTable::At(std::uint32_t index) {
    return std::launder(reinterpret_cast<Slot*>(storage + index * sizeof(Slot)));
}

Slot* HandleTable::Take() {
    const Guard guard(tableLock);
    if (Slot* const slot = freeSlots) {
        freeSlots = slot->nextFree;
        return slot;
    }
    const std::uint32_t index = used.load(std::memory_order_relaxed);
    if (index == SLOT_LIMIT)
        return nullptr;
    Slot* const slot = new (storage + index * sizeof(Slot)) Slot;
    used.store(index + 1, std::memory_order_release);
    return slot;
}

Handle HandleTable::Open(Kind kind, std::uint32_t state, std::uint32_t limit,
                         ThreadRecord* thread) {
    Slot* const slot = Take();
    if (slot == nullptr)
        return nullptr;
    const auto index =
        static_cast<std::uint64_t>(reinterpret_cast<std::byte*>(slot) - storage) / sizeof(Slot);
    const std::uint64_t tag = (TagOf(slot->word.load(std::memory_order_relaxed)) & ~KIND_MASK) |
                              std::uint64_t{kind} << 32;
    const Guard guard(slot->lock);
    slot->thread = thread;
    slot->limit.store(limit, std::memory_order_relaxed);
    slot->depth.store(tag, std::memory_order_relaxed);
    slot->word.store(tag | state, std::memory_order_release);
    return reinterpret_cast<Handle>(tag | index);
}

bool HandleTable::Close(Handle handle, ThreadRecord*& thread) {
    Slot* const slot = Find(handle);
    if (slot == nullptr || KindOf(handle) == KIND_NONE)
        return false;
    {
        const Guard guard(slot->lock);
        if (TagOf(slot->word.load(std::memory_order_relaxed)) != TagOf(handle))
            return false;
        slot->word.store((TagOf(handle) & ~KIND_MASK) + NEXT_USE, std::memory_order_release);
        slot->queue.RefuseAll();
        thread = slot->thread;
        slot->thread = nullptr;
    }
    const Guard guard(tableLock);
    slot->nextFree = freeSlots;
    freeSlots = slot;
    return true;
}

void HandleTable::BeforeFork() { tableLock.lock(); }

void HandleTable::AfterFork() { tableLock.unlock(); }

}  // namespace platform
