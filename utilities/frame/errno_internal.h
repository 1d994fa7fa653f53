/// The reason of a failure, which operations on files, ports and programs leave in `errno`.
#ifndef UTILITIES_FRAME_ERRNO_INTERNAL_H
#define UTILITIES_FRAME_ERRNO_INTERNAL_H

#include <cerrno>

/// Keeps the reason over the steps that clean up after a failure. The release of memory needs no
/// such care: the C library's keeps it.
class ScopedErrno {
public:
    ScopedErrno() : m_Error(errno) {}
    ~ScopedErrno() { errno = m_Error; }
    ScopedErrno(const ScopedErrno&) = delete;
    ScopedErrno& operator=(const ScopedErrno&) = delete;

private:
    const int m_Error;
};

/// Returns false, with a reason that no call of the system has left.
inline bool FailWith(int reason) {
    errno = reason;
    return false;
}

#endif
