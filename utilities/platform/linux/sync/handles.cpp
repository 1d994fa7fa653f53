#include "utilities/platform/linux/sync/handles.h"

#include <sys/mman.h>

#include <new>

#include "utilities/platform/fork.h"
#include "utilities/platform/linux/sync/current.h"
#include "utilities/platform/linux/sync/mutex.h"

namespace platform {

namespace {

constexpr std::uint64_t INDEX_MASK = SLOT_LIMIT - 1;
constexpr std::uint64_t NEXT_USE = std::uint64_t{1} << (INDEX_BITS + KIND_BITS);

/// Slots that wait to be used again, first in, first out.
class SlotQueue {
public:
    void Push(Slot& slot) {
        slot.nextFree = nullptr;
        (m_Last != nullptr ? m_Last->nextFree : m_First) = &slot;
        m_Last = &slot;
    }
    Slot* Pop() {
        Slot* const slot = m_First;
        if (slot != nullptr)
            m_First = slot->nextFree;
        if (m_First == nullptr)
            m_Last = nullptr;
        return slot;
    }

private:
    Slot* m_First = nullptr;
    Slot* m_Last = nullptr;
};

// The first objects must be had even where memory is short: the library's own mutex is among them.
alignas(Slot) std::byte firstChunk[256 * sizeof(Slot)];

constinit FutexLock tableLock;
constinit SlotQueue freeSlots;
constinit SlotQueue heldSlots;  ///< Closed while another thread held the mutex.
constinit std::uint32_t openObjects = 0;

Slot* MapChunk(std::size_t bytes) {
    void* const memory =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory != MAP_FAILED ? static_cast<Slot*>(memory) : nullptr;
}

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

constinit std::array<std::atomic<Slot*>, SLOT_LIMIT / HandleTable::CHUNK_SIZE> HandleTable::chunks;
constinit std::atomic<std::uint32_t> HandleTable::used{0};

constinit const InspectedHandles inspectedHandles = HandleTable::Inspected();

Slot* HandleTable::TakeUnused() {
    static_assert(sizeof firstChunk == CHUNK_SIZE * sizeof(Slot));
    const std::uint32_t index = used.load(std::memory_order_relaxed);
    if (index == SLOT_LIMIT)
        return nullptr;
    std::atomic<Slot*>& chunk = chunks[index / CHUNK_SIZE];
    Slot* first = chunk.load(std::memory_order_relaxed);
    if (first == nullptr) {
        first = index == 0 ? reinterpret_cast<Slot*>(firstChunk) : MapChunk(sizeof firstChunk);
        if (first == nullptr)
            return nullptr;
        for (std::uint32_t i = 0; i < CHUNK_SIZE; ++i)
            new (first + i) Slot;
        chunk.store(first, std::memory_order_release);
    }
    Slot& slot = first[index % CHUNK_SIZE];
    // Not the null handle, not even for the first slot.
    slot.handle.store(NEXT_USE | index, std::memory_order_relaxed);
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
    const std::uint64_t handle = slot->handle.load(std::memory_order_relaxed) | std::uint64_t{kind}
                                                                                    << INDEX_BITS;
    const ScopedLock lock(slot->lock);
    slot->thread = thread;
    slot->limit.store(limit, std::memory_order_relaxed);
    slot->marks.store(FreshMarks(), std::memory_order_relaxed);
    if (kind != KIND_MUTEX)
        slot->owner.store(OWNER_NO_MUTEX, std::memory_order_relaxed);
    slot->word.store(TagOf(handle) | state, std::memory_order_relaxed);
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
        const std::uint64_t next = NumberOf(handle) + NEXT_USE;
        slot->handle.store((next & ~(NEXT_USE - 1)) | (next & INDEX_MASK),
                           std::memory_order_seq_cst);
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
        if (first != nullptr && first != reinterpret_cast<Slot*>(firstChunk))
            munmap(first, sizeof firstChunk);
    }
}

}  // namespace platform
