#include "utilities/platform/filelocks.h"

#include <fcntl.h>

#include <array>
#include <atomic>
#include <cerrno>

#include "utilities/frame/errno_internal.h"
#include "utilities/platform/clock.h"
#include "utilities/platform/linux/files/ownership.h"
#include "utilities/platform/linux/files/polling.h"
#include "utilities/platform/linux/files/rangelock.h"

// A range is locked by an exclusive lock on its bytes. The system has no fair wait for it with a
// limit of time: a waiter that polls never finds the lock free if its holder gives it up and takes
// it again at once. So each range has a place, a byte of its own far beyond the content, and two
// rules:
//
// - A waiter attempts to take the lock only while it has the place. It takes the place anew for
//   each attempt, a millisecond long, and so several waiters take turns by chance.
// - An opener that has given up the lock itself a moment ago asks, before it takes it again,
//   whether somebody has the place; if so, it waits like the others.
//
// Only fairness depends on the places: who has the lock is decided by the lock alone. The question
// costs a system call, so ranges that weren't given up lately are taken without it, and a waiter
// that has been patient for half a second attempts without the place: its holder may be stopped.

namespace platform {

namespace {

constexpr std::uint32_t LOCK_MILLISECONDS = 10000;  // As long as `_locking` is expected to wait.
constexpr std::uint32_t RECENT_MILLISECONDS = 100;

std::int64_t PlaceFor(const ByteRange& range) {
    if (range.start == END_OF_FILE.start)
        return PLACE_FOR_END;
    return range.start < LOCK_BYTES - PLACES ? PLACES + range.start : PLACE_FOR_FAR_RANGES;
}

/// Which ranges this process gave up lately, whatever the file. It forgets a range when another one
/// needs its slot; then the range is taken without the question for once.
class RecentReleases {
public:
    void Add(const ByteRange& range) {
        const std::uint64_t hash = HashOf(range);
        SlotOf(hash).store(KeyOf(hash) | clock(), std::memory_order_relaxed);
    }
    bool Has(const ByteRange& range) {
        const std::uint64_t hash = HashOf(range);
        const std::uint64_t slot = SlotOf(hash).load(std::memory_order_relaxed);
        return (slot & KEY_BITS) == KeyOf(hash) &&
               clock() - static_cast<std::uint32_t>(slot) < RECENT_MILLISECONDS;
    }

private:
    using Slot = std::atomic<std::uint64_t>;  // The key above, the time in milliseconds below.
    static constexpr std::uint64_t KEY_BITS = 0xFFFFFFFF00000000;

    // Multiplied by 2^64 divided by the golden ratio, which spreads offsets at any distance.
    static std::uint64_t HashOf(const ByteRange& range) {
        return static_cast<std::uint64_t>(range.start) * 0x9E3779B97F4A7C15;
    }
    static std::uint64_t KeyOf(std::uint64_t hash) { return hash << 8 & KEY_BITS; }
    Slot& SlotOf(std::uint64_t hash) { return m_Slots[hash >> 56]; }

    std::array<Slot, 256> m_Slots{};
};

constinit RecentReleases recentReleases;

/// The place in the queue for a range, if nobody else has it.
class ScopedPlace {
public:
    ScopedPlace(int file, const ByteRange& range)
        : m_File(file), m_Byte{PlaceFor(range), 1}, m_IsFirst(SetLock(file, F_WRLCK, m_Byte)) {}
    ~ScopedPlace() {
        const ScopedErrno untilLeft;
        if (m_IsFirst)
            SetLock(m_File, F_UNLCK, m_Byte);
    }
    ScopedPlace(const ScopedPlace&) = delete;
    ScopedPlace& operator=(const ScopedPlace&) = delete;

    bool IsFirst() const { return m_IsFirst; }

private:
    const int m_File;
    const ByteRange m_Byte;
    const bool m_IsFirst;
};

Attempt TryLock(int file, const ByteRange& range) {
    if (!MayLock(file))
        return Attempt::HELD_ELSEWHERE;
    if (SetLock(file, F_WRLCK, range))
        return Attempt::TAKEN;
    return IsHeldElsewhere(errno) ? Attempt::HELD_ELSEWHERE : Attempt::FAILED;
}

Attempt TryLockInTurn(int file, const ByteRange& range) {
    if (recentReleases.Has(range) && IsLockedElsewhere(file, {PlaceFor(range), 1}))
        return Attempt::HELD_ELSEWHERE;
    return TryLock(file, range);
}

/// Calls `attempt` as often as it takes.
template <typename Function>
Attempt WaitInTurn(int file, const ByteRange& range, Function attempt) {
    return Poll(
        LOCK_MILLISECONDS, [&] { return ScopedPlace(file, range); }, attempt);
}

bool Unlock(int file, const ByteRange& range) {
    if (!MayLock(file) || !SetLock(file, F_UNLCK, range))
        return false;
    recentReleases.Add(range);
    return true;
}

}  // namespace

int _locking(int file, int mode, unsigned int size, std::int64_t offset) {
    const ByteRange range = {offset, size};
    if (size == 0)
        return fcntl(file, F_GETFD) >= 0 ? 0 : -1;
    if (mode == _LK_UNLCK)
        return Unlock(file, range) ? 0 : -1;
    Attempt result = TryLockInTurn(file, range);
    if (result == Attempt::HELD_ELSEWHERE && mode == _LK_LOCK)
        result = WaitInTurn(file, range, [&] { return TryLock(file, range); });
    if (result == Attempt::HELD_ELSEWHERE)
        errno = EAGAIN;
    return result == Attempt::TAKEN ? 0 : -1;
}

ScopedFileEnd::ScopedFileEnd(int file, bool isShared) : m_File(file) {
    if (!isShared)
        return;
    m_Deferral.emplace();
    Attempt result = TryLockInTurn(file, END_OF_FILE);
    if (result == Attempt::HELD_ELSEWHERE) {
        m_Deferral.reset();
        result = WaitInTurn(file, END_OF_FILE, [&] {
            const Attempt attempt = TryLock(file, END_OF_FILE);
            if (attempt == Attempt::TAKEN)
                m_Deferral.emplace();  // Before that of the attempt ends.
            return attempt;
        });
    }
    m_IsLocked = result == Attempt::TAKEN;
    m_MayMove = result != Attempt::HELD_ELSEWHERE;
    if (!m_MayMove)
        errno = EAGAIN;
}

ScopedFileEnd::~ScopedFileEnd() {
    const ScopedErrno untilUnlocked;
    if (m_IsLocked)
        Unlock(m_File, END_OF_FILE);
}

}  // namespace platform
