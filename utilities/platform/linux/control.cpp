#include "utilities/platform/linux/control.h"

#include <cstdio>

#include "utilities/platform/linux/current.h"
#include "utilities/platform/linux/interrupt.h"
#include "utilities/platform/linux/record.h"
#include "utilities/platform/linux/threadend.h"
#include "utilities/platform/threads.h"

namespace platform {

namespace {

// How long a thread may go on until it comes to a place where it can be stopped; then it is stopped
// wherever it is, unless it blocks signals.
constexpr std::uint32_t PATIENCE = 1000;
constexpr std::uint32_t LIMIT = 5000;

/// The streams that all threads write on. Who holds them can't be stopped meanwhile holding them.
class StandardStreams {
public:
    StandardStreams() {
        if (ftrylockfile(stdout) != 0)
            return;
        held = ftrylockfile(stderr) == 0;
        if (!held)
            funlockfile(stdout);
    }
    ~StandardStreams() {
        if (!held)
            return;
        funlockfile(stderr);
        funlockfile(stdout);
    }
    StandardStreams(const StandardStreams&) = delete;
    StandardStreams& operator=(const StandardStreams&) = delete;
    bool AreHeld() const { return held; }

private:
    bool held = false;
};

/// Sends the signal until `done`: the thread takes no notice of it in places where it would leave a
/// lock taken. False when it didn't help, or the calling thread itself must die.
template <typename Condition>
bool InterruptUntil(ThreadRecord& record, Condition done) {
    const Deadline patience(PATIENCE);
    const Deadline limit(LIMIT);
    for (std::uint32_t round = 0; !done(); ++round) {
        if (MustDie() || limit.IsOver())
            return false;
        {
            const HoldOff hold;  // no suspension while the streams are held
            const StandardStreams streams;
            const bool force = patience.IsOver();
            if (force)
                record.control.fetch_or(CONTROL_FORCE);
            if (force || streams.AreHeld())
                SendSignal(record);
            // Lengths that vary, so that a thread in a loop is not met at the same place each time.
            const std::int64_t pause = 100'000 + round * 7919 % 300'000;
            record.changes.WaitUntil(done, Deadline::AfterNanoseconds(pause));
        }
        ServeSuspension();
    }
    return true;
}

bool Kill(ThreadRecord& record) {
    record.control.fetch_or(CONTROL_KILL);
    FutexWake(&record.control, 1);
    const bool killed = InterruptUntil(record, [&record] { return record.ended.load(); });
    if (killed) {
        Join(record);
        CleanUpEnded();
    } else {
        record.control.fetch_and(~(CONTROL_KILL | CONTROL_FORCE));
    }
    return killed;
}

std::uint32_t Suspend(ThreadRecord& record) {
    const std::uint32_t before = AddSuspension(record);
    if (before == COUNT_FAILED)
        return COUNT_FAILED;
    if (&record == current.record) {
        current.pending = 1;
        return before;
    }
    const bool done = InterruptUntil(record, [&record] {
        return record.parked || record.ended || (record.control & SUSPENSIONS) == 0;
    });
    record.control.fetch_and(~CONTROL_FORCE);
    if (done && !record.ended)
        return before;
    RemoveSuspension(record);
    return COUNT_FAILED;
}

void ServePending() {
    ThreadRecord* const record = current.record;
    current.pending = 0;
    if (record == nullptr)
        return;
    Park(*record);
    if ((record->control.load() & CONTROL_KILL) != 0 && current.base != nullptr)
        LeaveThread();
}

}  // namespace

HoldOff::HoldOff() { current.busy = current.busy + 1; }

HoldOff::~HoldOff() {
    if (current.busy == 1)
        ReleaseHoldOffs();
    else
        current.busy = current.busy - 1;
}

void ReleaseHoldOffs() {
    // What comes between the two lines is found here; what comes later, the handler does.
    for (;;) {
        current.busy = 1;
        while (current.pending != 0)
            ServePending();
        current.busy = 0;
        if (current.pending == 0)
            return;
    }
}

bool MustDie() {
    const ThreadRecord* const record = current.record;
    if (record == nullptr || current.busy != 1 || current.base == nullptr ||
        (record->control.load() & CONTROL_KILL) == 0)
        return false;
    current.pending = 1;  // the signal may still be on its way
    return true;
}

void ServeSuspension() {
    ThreadRecord* const record = current.record;
    if (record != nullptr && current.busy == 1)
        Park(*record);
}

std::uint32_t AddSuspension(ThreadRecord& record) {
    std::uint32_t control = record.control.load();
    do {
        if (record.ended || (control & SUSPENSIONS) == SUSPENSIONS)
            return COUNT_FAILED;
    } while (!record.control.compare_exchange_weak(control, control + 1));
    return control & SUSPENSIONS;
}

std::uint32_t RemoveSuspension(ThreadRecord& record) {
    std::uint32_t control = record.control.load();
    do {
        if (record.ended)
            return COUNT_FAILED;
        if ((control & SUSPENSIONS) == 0)
            return 0;
    } while (!record.control.compare_exchange_weak(control, control - 1));
    if ((control & SUSPENSIONS) == 1 && record.parked)
        FutexWake(&record.control, 1);
    return control & SUSPENSIONS;
}

bool TerminateThread(Handle thread, unsigned int) {
    bool own = false;
    bool killed = false;
    {
        const HoldOff hold;
        const RecordReference record(thread);
        if (!record)
            return false;
        own = &*record == current.record;
        killed = !own && Kill(*record);
    }
    if (own)
        LeaveThread();
    return killed;
}

std::uint32_t SuspendThread(Handle thread) {
    const HoldOff hold;
    const RecordReference record(thread);
    return record ? Suspend(*record) : COUNT_FAILED;
}

std::uint32_t ResumeThread(Handle thread) {
    const HoldOff hold;
    const RecordReference record(thread);
    return record ? RemoveSuspension(*record) : COUNT_FAILED;
}

}  // namespace platform
