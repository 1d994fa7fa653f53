#include "utilities/platform/linux/threads/stoprequest.h"

#include <cstdio>

#include "utilities/platform/linux/sync/mutex.h"
#include "utilities/platform/linux/sync/sanitizer.h"
#include "utilities/platform/linux/sync/stopping.h"
#include "utilities/platform/linux/threads/interruptionpoint.h"
#include "utilities/platform/linux/threads/threadend.h"
#include "utilities/platform/threadcontrol.h"

namespace platform {

namespace {

bool IsHeldByAnother(std::FILE* stream) {
    if (ftrylockfile(stream) != 0)
        return true;
    funlockfile(stream);
    return false;
}

/// Whether the calling thread may stop where it calls from. A kill of a thread that has left its
/// frames is left to the signal handler, as it is on its way out already.
bool MayStopHere(const ThreadRecord& record, std::uint32_t request) {
    if (!IsStopWanted(record) || (IsKilled(record) && current.base == nullptr))
        return false;
    return IsFreeOfRuntimeFrames() && HoldsNoStream(request);
}

void ServePending() {
    if (AgreeToStop() && !Stop())
        LeaveThread();
}

}  // namespace

// The handler takes these steps before it knows whether it may touch anything else.
HANDLER_CODE bool MoveRequest(ThreadRecord& record, std::uint32_t from, std::uint32_t to) {
    auto* const word = reinterpret_cast<std::uint32_t*>(&record.request);
    std::uint32_t request = __atomic_load_n(word, __ATOMIC_SEQ_CST);
    do {
        if (RequestState(request) != from)
            return false;
    } while (!__atomic_compare_exchange_n(word, &request, request - from + to, true,
                                          __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST));
    FutexWake(&record.request, INT32_MAX);
    return true;
}

HANDLER_CODE void EndRequest(ThreadRecord& record) {
    auto* const word = reinterpret_cast<std::uint32_t*>(&record.request);
    if (__atomic_exchange_n(word, REQUEST_NONE, __ATOMIC_SEQ_CST) != REQUEST_NONE)
        FutexWake(&record.request, INT32_MAX);
}

bool IsStopWanted(const ThreadRecord& record) {
    return (record.control.load() & (CONTROL_KILL | SUSPENSIONS)) != 0;
}

bool IsKilled(const ThreadRecord& record) { return (record.control.load() & CONTROL_KILL) != 0; }

// The streams' locks can be taken again by their holder, so a lock that can be taken here may be
// the thread's own.
bool HoldsNoStream(std::uint32_t request) {
    return (request & REQUEST_STREAMS) != 0 || (IsHeldByAnother(stdout) && IsHeldByAnother(stderr));
}

void Park(ThreadRecord& record) {
    for (;;) {
        const std::uint32_t control = record.control.load();
        if ((control & SUSPENSIONS) == 0 || (control & CONTROL_KILL) != 0) {
            // Said before the last look: a suspension that comes now either sees that the thread is
            // not parked, or is seen.
            if (!record.parked.exchange(false))
                return;
            continue;
        }
        if (!record.parked.exchange(true))
            record.changes.NotifyAll();
        EndRequest(record);
        FutexWait(record.control, control, Deadline::None());
    }
}

std::uint32_t AddSuspension(ThreadRecord& record) {
    std::uint32_t control = record.control.load();
    do {
        if (record.exited || (control & SUSPENSIONS) == SUSPENSIONS)
            return COUNT_FAILED;
    } while (!record.control.compare_exchange_weak(control, control + 1));
    return control & SUSPENSIONS;
}

std::uint32_t RemoveSuspension(ThreadRecord& record) {
    std::uint32_t control = record.control.load();
    do {
        if (record.exited)
            return COUNT_FAILED;
        if ((control & SUSPENSIONS) == 0)
            return 0;
    } while (!record.control.compare_exchange_weak(control, control - 1));
    if ((control & SUSPENSIONS) == 1 && record.parked)
        FutexWake(&record.control, 1);
    return control & SUSPENSIONS;
}

void ParkAtEndOfDeferrals() {
    current.committed = true;
    current.pending = true;
}

bool AgreeToStop() {
    ThreadRecord* const record = current.record;
    if (record == nullptr || current.deferrals != 1)
        return false;
    if (current.committed)
        return true;
    if (!MoveRequest(*record, REQUEST_DEFERRED, REQUEST_DECIDING))
        return false;
    if (!MayStopHere(*record, record->request.load())) {
        EndRequest(*record);
        return false;
    }
    current.committed = true;
    MoveRequest(*record, REQUEST_DECIDING, REQUEST_AGREED);
    return true;
}

bool Stop() {
    ThreadRecord& record = *current.record;
    if (Slot* const slot = current.released)
        FinishRelease(*slot);
    Park(record);
    // A killed thread stays bound to its word until it has left its frames, unless it has none.
    if (IsKilled(record) && current.base != nullptr)
        return false;
    current.committed = false;
    EndRequest(record);
    return true;
}

// What comes before the handler acts by itself again is found by the look that follows.
void EndAllDeferrals() {
    do {
        current.deferrals = 1;
        while (current.pending || current.committed) {
            current.pending = false;
            ServePending();
        }
        std::atomic_signal_fence(std::memory_order_seq_cst);
        current.deferrals = 0;
        std::atomic_signal_fence(std::memory_order_seq_cst);
    } while (current.pending);
}

}  // namespace platform
