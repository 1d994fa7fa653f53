#include "utilities/platform/linux/sync/handles.h"

#include <sys/mman.h>

#include <new>

#include "utilities/platform/fork.h"
#include "utilities/platform/linux/sync/current.h"
#include "utilities/platform/linux/sync/mutex.h"

namespace platform {

namespace {

constexpr std::uint64_t NEXT_USE = std::uint64_t{1} << (INDEX_BITS + KIND_BITS);

/// Slots that wait to be used again, first in, first out.
class SlotQueue {
public:
    void Push(Slot& slot) {
        const std::uint32_t index = IndexOf(slot.handle.load(std::memory_order_relaxed));
        slot.nextFree = NO_SLOT;
        (m_Last != NO_SLOT ? HandleTable::At(m_Last).nextFree : m_First) = index;
        m_Last = index;
    }
    Slot* Pop() {
        if (m_First == NO_SLOT)
            return nullptr;
        Slot* const slot = &HandleTable::At(m_First);
        m_First = slot->nextFree;
        if (m_First == NO_SLOT)
            m_Last = NO_SLOT;
        return slot;
    }

private:
    static constexpr std::uint32_t NO_SLOT = SLOT_LIMIT;

    std::uint32_t m_First = NO_SLOT;
    std::uint32_t m_Last = NO_SLOT;
};

constinit FutexLock tableLock;
constinit SlotQueue freeSlots;
constinit SlotQueue heldSlots;  ///< Closed while another thread held the mutex.
constinit std::uint32_t openObjects = 0;

/// A slot whose mutex has been let go since it was closed.
Slot* TakeReleased() {
    Slot* const slot = heldSlots.Pop();
    if (slot != nullptr && slot->owner.load(std::memory_order_acquire) != 0) {
        heldSlots.Push(*slot);
        return nullptr;
    }
    return slot;
}

// A thread that doesn't exist in the child may have been about to put a slot back, or to use one:
// that slot is lost there, and nothing else.
const AtFork tableAtFork(
    ForkOrder::HANDLES, [] { tableLock.lock(); }, [] { tableLock.unlock(); },
    [] {
        tableLock.Reset();
        HandleTable::ForEachUsed([](Slot& slot) {
            slot.lock.Reset();
            slot.queue.Clear();
            slot.word.fetch_and(~std::uint64_t{STATE_WAITERS}, std::memory_order_relaxed);
        });
        MoveMutexesToForkedThread();
    });

}  // namespace

constinit std::array<Slot, HandleTable::CHUNK_SIZE> HandleTable::firstChunk;
constinit std::array<std::atomic<Slot*>, SLOT_LIMIT / HandleTable::CHUNK_SIZE> HandleTable::chunks;
constinit std::atomic<std::uint32_t> HandleTable::used{0};

constinit const InspectedHandles inspectedHandles = HandleTable::Inspected();

Slot* HandleTable::MapChunk() {
    void* const memory = mmap(nullptr, sizeof firstChunk, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        return nullptr;
    auto* const chunk = static_cast<Slot*>(memory);
    for (std::uint32_t i = 0; i < CHUNK_SIZE; ++i)
        new (chunk + i) Slot;
    return chunk;
}

Slot* HandleTable::TakeUnused() {
    const std::uint32_t index = used.load(std::memory_order_relaxed);
    if (index == SLOT_LIMIT)
        return nullptr;
    if (index % CHUNK_SIZE == 0) {
        Slot* const chunk = index == 0 ? firstChunk.data() : MapChunk();
        if (chunk == nullptr)
            return nullptr;
        chunks[index / CHUNK_SIZE].store(chunk, std::memory_order_release);
    }
    Slot& slot = At(index);
    // Not the null handle, not even for the first slot.
    slot.handle.store(NEXT_USE | index << KIND_BITS, std::memory_order_relaxed);
    used.store(index + 1, std::memory_order_release);
    return &slot;
}

Slot* HandleTable::Take() {
    const ScopedLock lock(tableLock);
    Slot* slot = freeSlots.Pop();
    if (slot == nullptr)
        slot = TakeReleased();
    if (slot == nullptr)
        slot = TakeUnused();
    if (slot != nullptr)
        ++openObjects;
    return slot;
}

Handle HandleTable::Open(Kind kind, std::uint32_t state, std::uint32_t limit,
                         ThreadRecord* thread) {
    const StopDeferral untilOpen;
    Slot* const slot = Take();
    if (slot == nullptr)
        return nullptr;
    const std::uint64_t handle = slot->handle.load(std::memory_order_relaxed) | kind;
    const ScopedLock lock(slot->lock);
    slot->thread = thread;
    slot->limit.store(limit, std::memory_order_relaxed);
    slot->marks.store(FreshMarks(), std::memory_order_relaxed);
    if (kind != KIND_MUTEX)
        slot->owner.store(OWNER_NO_MUTEX, std::memory_order_relaxed);
    slot->word.store(TagOf(handle) | state, std::memory_order_relaxed);
    slot->lastState.store(state, std::memory_order_relaxed);
    slot->handle.store(handle, std::memory_order_release);
    return reinterpret_cast<Handle>(handle);
}

bool HandleTable::Close(Handle handle, ThreadRecord*& thread) {
    Slot* const slot = Find(handle);
    if (slot == nullptr || KindOf(handle) == KIND_NONE)
        return false;
    const StopDeferral untilClosed;
    bool isHeld = false;
    {
        const ScopedLock lock(slot->lock);
        if (!IsOpen(*slot, handle))
            return false;
        const std::uint64_t next = NumberOf(handle) - KindOf(handle) + NEXT_USE;
        slot->handle.store(next, std::memory_order_seq_cst);
        slot->word.store(TagOf(next), std::memory_order_release);
        isHeld = !EndMutex(*slot);
        slot->queue.RefuseAll();
        thread = slot->thread;
        slot->thread = nullptr;
    }
    const ScopedLock lock(tableLock);
    (isHeld ? heldSlots : freeSlots).Push(*slot);
    --openObjects;
    return true;
}

void HandleTable::Release() {
    const ScopedLock lock(tableLock);
    if (openObjects != 0)
        return;
    freeSlots = heldSlots = SlotQueue();
    used.store(0, std::memory_order_relaxed);
    for (std::atomic<Slot*>& chunk : chunks) {
        Slot* const first = chunk.exchange(nullptr);
        if (first != nullptr && first != firstChunk.data())
            munmap(first, sizeof firstChunk);
    }
}

}  // namespace platform
