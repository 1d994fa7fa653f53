#include "utilities/platform/threads.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <csetjmp>
#include <ctime>
#include <new>

#include "utilities/platform/linux/control.h"
#include "utilities/platform/linux/current.h"
#include "utilities/platform/linux/handles.h"
#include "utilities/platform/linux/interrupt.h"
#include "utilities/platform/linux/priority.h"
#include "utilities/platform/linux/record.h"
#include "utilities/platform/linux/threadend.h"

namespace platform {

namespace {

/// A thread's id is part of the number of its processor clock, which the system gives without the
/// thread having run.
std::uint32_t IdOf(pthread_t thread) {
    clockid_t source{};
    if (pthread_getcpuclockid(thread, &source) != 0)
        return 0;
    return ~static_cast<std::uint32_t>(source >> 3);
}

/// The first frame of the client's.
void RunThread(ThreadRecord& record) {
    Park(record);
    current.id = record.id;
    WatchThreadEnd();
    // A signal that came before the record was known has left nothing but this.
    record.signalled = false;
    current.pending = 1;
    ReleaseHoldOffs();
    record.start(record.argument);
}

void* ThreadMain(void* argument) {
    auto& record = *static_cast<ThreadRecord*>(argument);
    sigjmp_buf base;
    current.busy = 1;
    current.base = &base;
    current.record = &record;
    UnblockSignal();
    if (sigsetjmp(base, 0) == 0)
        RunThread(record);
    current.base = nullptr;
    ReleaseHoldOffs();
    if (!IsThreadEndWatched())
        EndThread();
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
    const HoldOff hold;
    CleanUpEnded();
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

void LeaveThread() {
    if (sigjmp_buf* const base = current.base) {
        UnblockSignal();
        siglongjmp(*base, 1);
    }
    StopThread();
}

void StopThread() {
    EndThread();
    // The next thread on this stack would find the values of this one.
    for (pthread_key_t key = 0; key < PTHREAD_KEYS_MAX; ++key) {
        if (pthread_getspecific(key) != nullptr)
            pthread_setspecific(key, nullptr);
    }
    for (;;)
        syscall(SYS_exit, 0);
}

}  // namespace platform
