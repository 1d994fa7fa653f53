#include "utilities/platform/linux/sharing.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "utilities/platform/linux/futex.h"

namespace platform {

namespace {

/// Far beyond any content there is a byte for each of what an opener can do or deny. Who does it
/// holds a shared lock on that byte, for as long as its descriptor is open.
constexpr off_t MARKS = 0x7fffffffffff0000;
constexpr unsigned int MARK_COUNT = 4;

constexpr std::uint32_t LONGEST_WAIT = 1000;  // Milliseconds.
constexpr useconds_t BETWEEN_TRIES = 1000;    // Microseconds.

struct flock Mark(unsigned int number, short type) {
    struct flock mark {};
    mark.l_type = type;
    mark.l_whence = SEEK_SET;
    mark.l_start = MARKS + static_cast<off_t>(number);
    mark.l_len = 1;
    return mark;
}

bool IsRefusal(int error) { return error == EAGAIN || error == EACCES; }

bool SetMarks(int file, unsigned int sharing) {
    for (unsigned int number = 0; number < MARK_COUNT; ++number) {
        struct flock mark = Mark(number, F_RDLCK);
        if ((sharing >> number & 1) != 0 && fcntl(file, F_OFD_SETLK, &mark) != 0 &&
            IsRefusal(errno))
            return false;
    }
    return true;
}

/// Whether another opener has one of the marks in `sharing`.
bool IsAnyMarkSet(int file, unsigned int sharing) {
    for (unsigned int number = 0; number < MARK_COUNT; ++number) {
        struct flock mark = Mark(number, F_WRLCK);
        if ((sharing >> number & 1) != 0 && fcntl(file, F_OFD_GETLK, &mark) == 0 &&
            mark.l_type != F_UNLCK)
            return true;
    }
    return false;
}

/// What others must not do or deny.
unsigned int Opposite(unsigned int sharing) {
    constexpr unsigned int DEEDS = SHARING_READS | SHARING_WRITES;
    return (sharing & DEEDS) << 2 | (sharing >> 2 & DEEDS);
}

/// Round the marking and the looking: two openers that mark at the same moment would else refuse
/// each other. Each would still be right, so a stranger who holds the gate is not waited for long.
class Gate {
public:
    explicit Gate(int opened) : file(opened) {
        const Deadline deadline(LONGEST_WAIT);
        while (flock(file, LOCK_EX | LOCK_NB) != 0 && (errno == EWOULDBLOCK || errno == EINTR) &&
               !deadline.IsOver())
            usleep(BETWEEN_TRIES);
    }
    ~Gate() { flock(file, LOCK_UN); }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

private:
    int file;
};

}  // namespace

bool EnterOpener(int file, unsigned int sharing) {
    const Gate gate(file);
    if (SetMarks(file, sharing) && !IsAnyMarkSet(file, Opposite(sharing)))
        return true;
    errno = EACCES;
    return false;
}

bool EnterSoleWriter(int file) {
    struct flock marks = Mark(0, F_WRLCK);
    marks.l_len = MARK_COUNT;
    return fcntl(file, F_OFD_SETLK, &marks) == 0 || !IsRefusal(errno);
}

}  // namespace platform
