#include "utilities/platform/threadcontrol.h"

#include <cstdio>

#include "utilities/platform/linux/sync/current.h"
#include "utilities/platform/linux/sync/stopping.h"
#include "utilities/platform/linux/threads/interrupt.h"
#include "utilities/platform/linux/threads/reaping.h"
#include "utilities/platform/linux/threads/stoprequest.h"
#include "utilities/platform/linux/threads/threadend.h"
#include "utilities/platform/standardstreams.h"

namespace platform {

namespace {

constexpr std::uint32_t LIMIT = 5000;     // Of a stop, in milliseconds.
constexpr std::uint32_t PATIENCE = 1000;  // After which a thread is stopped also where it sleeps.
constexpr std::uint32_t TURN = 20;        // For which a request waits for the thread to run.

/// One request to a thread, with the standard streams held if they can be had at once.
class Request {
public:
    Request(ThreadRecord& record, bool isForced, const Deadline& limit)
        : m_Record(record), m_Out(stdout, 0), m_Err(stderr, 0), m_Limit(limit) {
        const bool hasStreams = m_Out.IsHeld() && m_Err.IsHeld();
        m_Flags = (hasStreams ? REQUEST_STREAMS : 0) | (isForced ? REQUEST_FORCE : 0);
    }

    /// Returns when the thread has stopped or said that it can't, when `isDone()`, or when it is
    /// time to let others have the streams.
    template <typename Condition>
    void Run(Condition isDone) {
        std::uint32_t request = REQUEST_NONE;
        if (!m_Record.request.compare_exchange_strong(request, REQUEST_ASKED | m_Flags)) {
            FutexWait(m_Record.request, request, Deadline(1));  // another thread's request
            return;
        }
        SendSignal(m_Record);
        const Deadline turn(TURN);
        while ((request = m_Record.request.load()) != REQUEST_NONE && !isDone()) {
            const bool isAgreed = RequestState(request) == REQUEST_AGREED;
            if (IsRevocable(request) && turn.IsOver()) {
                if (m_Record.request.compare_exchange_strong(request, REQUEST_NONE))
                    return;
            } else if (isAgreed && m_Limit.IsOver()) {
                return;
            } else {
                FutexWait(m_Record.request, request, IsRevocable(request) ? turn : Deadline(TURN));
            }
        }
        TakeBack();
    }

private:
    static bool IsRevocable(std::uint32_t request) {
        const std::uint32_t state = RequestState(request);
        return state == REQUEST_ASKED || state == REQUEST_DEFERRED;
    }

    void TakeBack() {
        std::uint32_t request = m_Record.request.load();
        while (IsRevocable(request) &&
               !m_Record.request.compare_exchange_weak(request, REQUEST_NONE)) {
        }
    }

    ThreadRecord& m_Record;
    const ScopedStream m_Out;
    const ScopedStream m_Err;
    const Deadline& m_Limit;
    std::uint32_t m_Flags;
};

/// Asks the thread to stop until `isDone()`. False when it didn't help in time, or the calling
/// thread must end itself.
template <typename Condition>
bool StopUntil(ThreadRecord& record, Condition isDone, const Deadline& limit) {
    const Deadline patience(PATIENCE);
    for (std::uint32_t round = 0; !isDone(); ++round) {
        if (limit.IsOver())
            return false;
        const bool isForced = patience.IsOver();
        // A thread that has left its frames is on its way out, and is not disturbed.
        if (isForced || !record.leaving)
            Request(record, isForced, limit).Run(isDone);
        // Lengths that vary, so that a thread in a loop is not met at the same place each time.
        const std::int64_t pause = 100'000 + round * 7919 % 300'000;
        record.changes.WaitUntil(isDone, Deadline::AfterNanoseconds(pause));
        if (AgreeToStop() && !Stop())
            return false;
    }
    return true;
}

bool Kill(ThreadRecord& record) {
    const Deadline limit(LIMIT);
    record.control.fetch_or(CONTROL_KILL);
    FutexWake(&record.control, 1);
    const auto hasExited = [&record] { return record.exited.load(); };
    if (StopUntil(record, hasExited, limit) && JoinUntil(record, limit)) {
        ReapExited();
        return true;
    }
    record.control.fetch_and(~CONTROL_KILL);
    return false;
}

std::uint32_t Suspend(ThreadRecord& record) {
    const std::uint32_t before = AddSuspension(record);
    if (before == COUNT_FAILED)
        return COUNT_FAILED;
    if (&record == current.record) {
        ParkAtEndOfDeferrals();
        return before;
    }
    const auto isDone = [&record] {
        return record.parked || record.exited || (record.control & SUSPENSIONS) == 0;
    };
    if (StopUntil(record, isDone, Deadline(LIMIT)) && !record.exited)
        return before;
    RemoveSuspension(record);
    return COUNT_FAILED;
}

}  // namespace

bool TerminateThread(Handle thread, unsigned int) {
    bool isOwn = false;
    bool isKilled = false;
    {
        const StopDeferral untilDone;
        const RecordReference record(thread);
        if (!record)
            return false;
        isOwn = &*record == current.record;
        isKilled = !isOwn && Kill(*record);
    }
    if (isOwn)
        LeaveThread();
    return isKilled;
}

std::uint32_t SuspendThread(Handle thread) {
    const StopDeferral untilDone;
    const RecordReference record(thread);
    return record ? Suspend(*record) : COUNT_FAILED;
}

std::uint32_t ResumeThread(Handle thread) {
    const StopDeferral untilDone;
    const RecordReference record(thread);
    return record ? RemoveSuspension(*record) : COUNT_FAILED;
}

}  // namespace platform
