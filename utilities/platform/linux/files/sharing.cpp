#include "utilities/platform/linux/files/sharing.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

#include "utilities/frame/errno_internal.h"
#include "utilities/platform/linux/files/ownership.h"
#include "utilities/platform/linux/files/polling.h"
#include "utilities/platform/linux/files/rangelock.h"

// LOCK_BYTES and the three bytes after it stand for: reads, writes, denies reads, denies writes. An
// opener holds a shared lock on the byte of each thing that it does or denies, for as long as the
// file is open. Two openers conflict if one does what the other denies.
//
// An opener locks its own bytes first and then asks whether anybody has an opposite one, so of two
// that conflict at least one sees the other, and two that conflict never both succeed. Both could
// refuse each other, though, so they do it one after the other, under the open lock (flock, which a
// file open only for reading can take as well). The open lock only spares the second one a needless
// refusal: if another program holds it, the opener goes on without it after a second.
//
// A file open for writing only can't have shared locks. Its opener denies everything and takes all
// four bytes exclusively, in one step and thus without the open lock.

namespace platform {

namespace {

constexpr unsigned int BYTE_COUNT = 4;
constexpr std::uint32_t OPEN_LOCK_MILLISECONDS = 1000;

constexpr ByteRange ByteOf(unsigned int bit) { return {LOCK_BYTES + bit, 1}; }

Entry LockOwnBytes(int file, unsigned int sharing) {
    Entry entry = Entry::DONE;
    for (unsigned int bit = 0; bit < BYTE_COUNT; ++bit) {
        if ((sharing >> bit & 1) == 0 || SetLock(file, F_RDLCK, ByteOf(bit)))
            continue;
        if (IsHeldElsewhere(errno))
            return Entry::REFUSED;
        entry = Entry::WITHOUT_LOCKS;
    }
    return entry;
}

bool HasAnother(int file, unsigned int sharing) {
    for (unsigned int bit = 0; bit < BYTE_COUNT; ++bit) {
        if ((sharing >> bit & 1) != 0 && IsLockedElsewhere(file, ByteOf(bit)))
            return true;
    }
    return false;
}

/// What must not be there beside an opener: the denial of its access, and the access that it
/// denies.
unsigned int Opposite(unsigned int sharing) {
    constexpr unsigned int ACCESS = SHARING_READS | SHARING_WRITES;
    return (sharing & ACCESS) << 2 | (sharing >> 2 & ACCESS);
}

class ScopedOpenLock {
public:
    explicit ScopedOpenLock(int file) : m_File(file) {
        const auto attempt = [file] {
            if (flock(file, LOCK_EX | LOCK_NB) == 0)
                return Attempt::TAKEN;
            return errno == EWOULDBLOCK || errno == EINTR ? Attempt::HELD_ELSEWHERE
                                                          : Attempt::FAILED;
        };
        if (attempt() == Attempt::HELD_ELSEWHERE)
            Poll(
                OPEN_LOCK_MILLISECONDS, [] { return NoQueue(); }, attempt);
    }
    ~ScopedOpenLock() {
        const ScopedErrno untilUnlocked;
        flock(m_File, LOCK_UN);
    }
    ScopedOpenLock(const ScopedOpenLock&) = delete;
    ScopedOpenLock& operator=(const ScopedOpenLock&) = delete;

private:
    const int m_File;
};

}  // namespace

Entry EnterOpener(int file, unsigned int sharing) {
    OwnLocks(file);
    const ScopedOpenLock lock(file);
    const Entry entry = LockOwnBytes(file, sharing);
    if (entry != Entry::REFUSED && !HasAnother(file, Opposite(sharing)))
        return entry;
    FailWith(EACCES);
    return Entry::REFUSED;
}

bool EnterSoleWriter(int file) {
    OwnLocks(file);
    return SetLock(file, F_WRLCK, {LOCK_BYTES, BYTE_COUNT}) || !IsHeldElsewhere(errno) ||
           FailWith(EBUSY);
}

}  // namespace platform
