#include "utilities/platform/waitable.h"

#include "utilities/platform/linux/counted.h"
#include "utilities/platform/linux/current.h"
#include "utilities/platform/linux/handles.h"
#include "utilities/platform/linux/mutex.h"
#include "utilities/platform/linux/record.h"

namespace platform {

namespace {

/// Null unless the handle is of that kind. What it gives may still be closed, or be something else
/// by now: the tag tells.
Slot* FindOf(Kind kind, Handle handle) {
    return KindOf(handle) == kind ? HandleTable::Find(handle) : nullptr;
}

std::uint32_t WaitForThreadHandle(Handle handle, std::uint32_t milliseconds) {
    const HoldOff hold;
    const RecordReference thread(handle);
    return thread ? WaitForThread(*thread, milliseconds) : WAIT_FAILED;
}

/// All but taking a mutex at once. Out of line, as that would else save registers for this.
[[gnu::noinline]] std::uint32_t WaitSlowly(Handle object, std::uint32_t milliseconds) {
    Slot* const slot = HandleTable::Find(object);
    if (slot == nullptr)
        return WAIT_FAILED;
    switch (KindOf(object)) {
        case KIND_MUTEX:
            return AcquireMutexSlowly(*slot, TagOf(object), milliseconds);
        case KIND_SEMAPHORE:
        case KIND_EVENT:
            return WaitForCounted(*slot, TagOf(object), milliseconds);
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
    Slot* const slot = FindOf(KIND_MUTEX, object);
    return slot != nullptr && AcquireMutexAtOnce(*slot, TagOf(object))
               ? WAIT_OBJECT_0
               : WaitSlowly(object, milliseconds);
}

bool ReleaseMutex(Handle mutex) {
    Slot* const slot = FindOf(KIND_MUTEX, mutex);
    if (slot == nullptr)
        return false;
    const std::uint64_t tag = TagOf(mutex);
    return ReleaseMutexAtOnce(*slot, tag) || ReleaseMutexSlowly(*slot, tag);
}

bool ReleaseSemaphore(Handle semaphore) {
    Slot* const slot = FindOf(KIND_SEMAPHORE, semaphore);
    return slot != nullptr && ReturnUnit(*slot, TagOf(semaphore));
}

bool SetEvent(Handle event) {
    Slot* const slot = FindOf(KIND_EVENT, event);
    return slot != nullptr && Set(*slot, TagOf(event));
}

bool ResetEvent(Handle event) {
    Slot* const slot = FindOf(KIND_EVENT, event);
    return slot != nullptr && Reset(*slot, TagOf(event));
}

bool CloseHandle(Handle object) {
    const HoldOff hold;
    ThreadRecord* thread = nullptr;
    if (!HandleTable::Close(object, thread))
        return false;
    if (thread != nullptr) {
        OnHandleClosed(*thread);
        Unreference(thread);
        CleanUpEnded();
    }
    return true;
}

}  // namespace platform
