#include "utilities/platform/waitable.h"

#include "utilities/platform/linux/sync/handles.h"
#include "utilities/platform/linux/sync/mutex.h"
#include "utilities/platform/linux/sync/semaphore_event.h"
#include "utilities/platform/linux/sync/stopping.h"

namespace platform {

namespace {

bool IsEvent(Handle handle) {
    return KindOf(handle) == KIND_EVENT || KindOf(handle) == KIND_MANUAL_EVENT;
}

// What is found here and below may be closed, or be another object by now: the operations compare
// the handle.
Slot* FindEvent(Handle handle) { return IsEvent(handle) ? HandleTable::Find(handle) : nullptr; }

std::uint32_t WaitForMutex(Slot& slot, Handle mutex, std::uint32_t milliseconds) {
    const std::uint32_t self = LockerId();
    return AcquireMutexAtOnce(slot, mutex, self) != Acquired::NOT
               ? WAIT_OBJECT_0
               : AcquireMutexSlowly(slot, mutex, milliseconds);
}

/// All but taking from a semaphore or event at once. Out of line, as it would otherwise save
/// registers there.
[[gnu::noinline]] std::uint32_t WaitSlowly(Handle object, std::uint32_t milliseconds) {
    Slot* const slot = HandleTable::Find(object);
    if (slot == nullptr)
        return WAIT_FAILED;
    switch (KindOf(object)) {
        case KIND_MUTEX:
            return WaitForMutex(*slot, object, milliseconds);
        case KIND_SEMAPHORE:
        case KIND_EVENT:
        case KIND_MANUAL_EVENT:
            return WaitForSemaphoreOrEvent(*slot, object, milliseconds);
        case KIND_THREAD:
            return WaitForThreadHandle(object, milliseconds);
        default:
            return WAIT_FAILED;
    }
}

}  // namespace

Handle CreateMutexA() { return HandleTable::Open(KIND_MUTEX, 0, 0, nullptr); }

Handle CreateSemaphoreA(std::int32_t initial, std::int32_t maximum) {
    if (initial < 0 || maximum <= 0 || initial > maximum)
        return nullptr;
    return HandleTable::Open(KIND_SEMAPHORE, static_cast<std::uint32_t>(initial),
                             static_cast<std::uint32_t>(maximum), nullptr);
}

Handle CreateEventA(bool manualReset, bool initialState) {
    return HandleTable::Open(manualReset ? KIND_MANUAL_EVENT : KIND_EVENT, initialState ? 1 : 0, 1,
                             nullptr);
}

std::uint32_t WaitForSingleObject(Handle object, std::uint32_t milliseconds) {
    if (KindOf(object) == KIND_SEMAPHORE || IsEvent(object)) {
        Slot* const slot = HandleTable::Find(object);
        if (slot != nullptr && TakeAtOnce(*slot, object))
            return WAIT_OBJECT_0;
    }
    return WaitSlowly(object, milliseconds);
}

Acquired AcquireAtOnce(Handle mutex, std::uint32_t locker) {
    Slot* const slot = HandleTable::Find(mutex);
    return slot != nullptr ? AcquireMutexAtOnce(*slot, mutex, locker) : Acquired::NOT;
}

std::uint32_t GetLockerId() { return current.locker; }

bool Release(Handle mutex, std::uint32_t locker) {
    Slot* const slot = HandleTable::Find(mutex);
    return slot != nullptr && ReleaseMutexOf(*slot, mutex, locker);
}

bool ReleaseMutex(Handle mutex) {
    const std::uint32_t self = current.locker;
    Slot* const slot = HandleTable::Find(mutex);
    return slot != nullptr && self != 0 && ReleaseMutexOf(*slot, mutex, self);
}

bool IsHeldByCaller(Handle mutex) {
    const Slot* const slot = HandleTable::Find(mutex);
    return slot != nullptr && KindOf(mutex) == KIND_MUTEX && IsOpen(*slot, mutex) &&
           current.locker != 0 && slot->owner.load(std::memory_order_relaxed) == current.locker;
}

bool ReleaseSemaphore(Handle semaphore) {
    Slot* const slot = HandleTable::Find(semaphore);
    return slot != nullptr && KindOf(semaphore) == KIND_SEMAPHORE &&
           (RaiseAtOnce(*slot, semaphore) || RaiseCount(*slot, semaphore));
}

bool SetEvent(Handle event) {
    Slot* const slot = FindEvent(event);
    return slot != nullptr && (SetAtOnce(*slot, event) || SetEventOf(*slot, event));
}

bool ResetEvent(Handle event) {
    Slot* const slot = FindEvent(event);
    return slot != nullptr && ResetEventOf(*slot, event);
}

bool CloseHandle(Handle object) {
    const StopDeferral untilReleased;
    ThreadRecord* thread = nullptr;
    if (!HandleTable::Close(object, thread))
        return false;
    if (thread != nullptr)
        ReleaseThread(*thread);
    return true;
}

}  // namespace platform
