#include "utilities/platform/threads.h"

#include <pthread.h>

#include <csetjmp>
#include <ctime>
#include <new>

#include "utilities/platform/linux/sync/current.h"
#include "utilities/platform/linux/sync/handles.h"
#include "utilities/platform/linux/sync/stopping.h"
#include "utilities/platform/linux/threads/interrupt.h"
#include "utilities/platform/linux/threads/reaping.h"
#include "utilities/platform/linux/threads/stoprequest.h"
#include "utilities/platform/linux/threads/threadend.h"
#include "utilities/platform/linux/threads/threadpriority.h"

namespace platform {

namespace {

// How long a new thread spins for its creator to finish, before it sleeps. The creator needs some
// microseconds, mostly less than the thread's own start.
constexpr int START_SPINS = 200;

/// A thread's id is part of the number of its processor clock, which the system tells without the
/// thread having run.
std::uint32_t IdOf(pthread_t thread) {
    clockid_t source{};
    if (pthread_getcpuclockid(thread, &source) != 0)
        return 0;
    return ~static_cast<std::uint32_t>(source >> 3);
}

void WaitForCreator(ThreadRecord& record) {
    for (int spin = 0; spin < START_SPINS && (record.control & SUSPENSIONS) != 0; ++spin)
        Pause();
    Park(record);
}

/// The first frame that a kill leaves. Runs under a deferral up to the client's function.
void RunThread(ThreadRecord& record) {
    WaitForCreator(record);
    current.id = record.id;
    WatchThreadEnd();
    if (IsKilled(record))
        return;
    // A signal that came before the record was known has left nothing but this.
    record.signalled = false;
    EndAllDeferrals();
    record.start(record.argument);
}

void* ThreadMain(void* argument) {
    auto& record = *static_cast<ThreadRecord*>(argument);
    sigjmp_buf base;
    BeginDeferral();
    current.stackBase = reinterpret_cast<std::uintptr_t>(__builtin_dwarf_cfa());
    current.base = &base;
    current.record = &record;
    UnblockSignal();
    if (sigsetjmp(base, 0) == 0)
        RunThread(record);
    current.deferrals = 1;
    current.base = nullptr;
    current.committed = false;
    record.leaving = true;
    EndRequest(record);
    EndAllDeferrals();
    if (!IsThreadEndWatched())
        ReportExit();
    return nullptr;
}

Handle StartThread(ThreadRecord& record) {
    Handle const handle = HandleTable::Open(KIND_THREAD, 0, 0, &record);
    if (handle == nullptr)
        return nullptr;
    if (pthread_create(&record.thread, nullptr, ThreadMain, &record) == 0)
        return handle;
    ThreadRecord* unused = nullptr;
    HandleTable::Close(handle, unused);
    return nullptr;
}

}  // namespace

Handle _beginthreadex(unsigned int (*start)(void*), void* argument, unsigned int flags,
                      std::uint32_t* id) {
    const StopDeferral untilStarted;
    ReapExited();
    if (start == nullptr || !ClaimSignal())
        return nullptr;
    auto* const record = new (std::nothrow) ThreadRecord;
    if (record == nullptr)
        return nullptr;
    record->start = start;
    record->argument = argument;
    Handle const handle = StartThread(*record);
    if (handle == nullptr) {
        delete record;
        return nullptr;
    }
    // It is suspended, so that all this is done before it runs.
    record->id = IdOf(record->thread);
    StartWithNormalPriority(*record);
    if (id != nullptr)
        *id = record->id;
    if ((flags & CREATE_SUSPENDED) == 0)
        RemoveSuspension(*record);
    return handle;
}

void _endthreadex(unsigned int) { LeaveThread(); }

std::uint32_t WaitForThreadHandle(Handle thread, std::uint32_t milliseconds) {
    const StopDeferral untilReleased;
    const RecordReference record(thread);
    if (!record)
        return WAIT_FAILED;
    if (milliseconds == 0 && !(*record).exited)
        return WAIT_TIMEOUT;
    if (!JoinUntil(*record, Deadline(milliseconds)))
        return WAIT_TIMEOUT;
    ReapExited();
    return WAIT_OBJECT_0;
}

void ReleaseThread(ThreadRecord& record) {
    OnHandleClosed(record);
    Unreference(&record);
    ReapExited();
}

}  // namespace platform
