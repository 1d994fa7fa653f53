#include "utilities/platform/linux/threads/record.h"

#include "utilities/platform/linux/sync/handles.h"

namespace platform {

void Unreference(ThreadRecord* record) {
    if (record != nullptr && record->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete record;
}

RecordReference::RecordReference(Handle handle) {
    Slot* const slot = KindOf(handle) == KIND_THREAD ? HandleTable::Find(handle) : nullptr;
    if (slot == nullptr)
        return;
    const ScopedLock lock(slot->lock);
    if (!IsOpen(*slot, handle))
        return;
    m_Record = slot->thread;
    m_Record->references.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace platform
