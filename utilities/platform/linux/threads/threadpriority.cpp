#include "utilities/platform/linux/threads/threadpriority.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>

#include "utilities/platform/linux/sync/current.h"
#include "utilities/platform/linux/threads/record.h"
#include "utilities/platform/stopdeferral.h"
#include "utilities/platform/threadpriority.h"

namespace platform {

namespace {

/// Nice values, counted from that of the process.
constexpr struct {
    int priority;
    int nice;
} LEVELS[] = {{-15, 19}, {-2, 10}, {-1, 5}, {0, 0}, {1, -5}, {2, -10}, {15, -20}};

bool SetNice(const ThreadRecord& record, int nice) {
    const int base = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
    return setpriority(PRIO_PROCESS, record.id, std::clamp(base + nice, -20, 19)) == 0;
}

bool SetPriority(ThreadRecord& record, int priority) {
    for (const auto& level : LEVELS) {
        if (level.priority != priority)
            continue;
        // The id is the thread's own until it is joined.
        const ScopedLock lock(record.joinLock);
        if (record.isJoining || record.isJoined || !SetNice(record, level.nice))
            return false;
        record.priority = priority;
        return true;
    }
    return false;
}

}  // namespace

void StartWithNormalPriority(ThreadRecord& record) {
    const ThreadRecord* const creator = current.record;
    if (creator == nullptr || creator->priority == 0)
        return;
    record.priority = creator->priority.load();
    SetPriority(record, 0);
}

bool SetThreadPriority(Handle thread, int priority) {
    const StopDeferral hold;
    const RecordReference record(thread);
    return record && SetPriority(*record, priority);
}

int GetThreadPriority(Handle thread) {
    const StopDeferral hold;
    const RecordReference record(thread);
    return record ? (*record).priority.load() : THREAD_PRIORITY_ERROR_RETURN;
}

}  // namespace platform
