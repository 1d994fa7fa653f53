#include "utilities/platform/waitable.h"

#include "utilities/platform/linux/sync/handles.h"
#include "utilities/platform/linux/sync/mutex.h"
#include "utilities/platform/linux/sync/semaphore_event.h"
#include "utilities/platform/linux/sync/stopping.h"

namespace platform {

namespace {

/// Null unless the handle is of that kind. What is found may be closed, or be another object by
/// now: the operations compare the handle.
Slot* FindOf(Kind kind, Handle handle) {
    return KindOf(handle) == kind ? HandleTable::Find(handle) : nullptr;
}

/// All but taking a mutex at once. Out of line, as it would otherwise save registers there.
[[gnu::noinline]] std::uint32_t WaitSlowly(Handle object, std::uint32_t milliseconds) {
    Slot* const slot = HandleTable::Find(object);
    if (slot == nullptr)
        return WAIT_FAILED;
    switch (KindOf(object)) {
        case KIND_MUTEX:
            return AcquireMutexSlowly(*slot, object, milliseconds);
        case KIND_SEMAPHORE:
        case KIND_EVENT:
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
    const std::uint32_t state = (manualReset ? EVENT_MANUAL : 0) | (initialState ? EVENT_SET : 0);
    return HandleTable::Open(KIND_EVENT, state, 0, nullptr);
}

std::uint32_t WaitForSingleObject(Handle object, std::uint32_t milliseconds) {
    const Kind kind = KindOf(object);
    if (kind == KIND_SEMAPHORE || kind == KIND_EVENT) {
        Slot* const slot = HandleTable::Find(object);
        if (slot != nullptr && TakeAtOnce(*slot, object, kind))
            return WAIT_OBJECT_0;
    } else if (AcquireAtOnce(object, current.locker)) {
        return WAIT_OBJECT_0;
    }
    return WaitSlowly(object, milliseconds);
}

bool AcquireAtOnce(Handle mutex, std::uint32_t locker) {
    Slot* const slot = HandleTable::Find(mutex);
    return slot != nullptr && locker != 0 && AcquireMutexAtOnce(*slot, mutex, locker);
}

std::uint32_t GetLockerId() { return current.locker; }

bool ReleaseMutex(Handle mutex) {
    Slot* const slot = HandleTable::Find(mutex);
    return slot != nullptr && ReleaseMutexOf(*slot, mutex);
}

bool IsHeldByCaller(Handle mutex) {
    const Slot* const slot = FindOf(KIND_MUTEX, mutex);
    return slot != nullptr && IsOpen(*slot, mutex) && current.locker != 0 &&
           slot->owner.load(std::memory_order_relaxed) == current.locker;
}

bool ReleaseSemaphore(Handle semaphore) {
    Slot* const slot = FindOf(KIND_SEMAPHORE, semaphore);
    return slot != nullptr && RaiseCount(*slot, semaphore);
}

bool SetEvent(Handle event) {
    Slot* const slot = FindOf(KIND_EVENT, event);
    return slot != nullptr && SetEventOf(*slot, event);
}

bool ResetEvent(Handle event) {
    Slot* const slot = FindOf(KIND_EVENT, event);
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
