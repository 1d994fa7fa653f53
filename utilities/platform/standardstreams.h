/// The locks of the C library's standard streams.
#ifndef UTILITIES_PLATFORM_STANDARDSTREAMS_H
#define UTILITIES_PLATFORM_STANDARDSTREAMS_H

#include <cstdint>
#include <cstdio>

namespace platform {

/// Holds the lock of a stream, if it can be had within some time. A thread that is blocked while it
/// writes keeps that lock for as long, and every print on the stream waits for it.
class ScopedStream {
public:
    ScopedStream(std::FILE* stream, std::uint32_t milliseconds);
    ~ScopedStream();
    ScopedStream(const ScopedStream&) = delete;
    ScopedStream& operator=(const ScopedStream&) = delete;

    bool IsHeld() const { return m_Stream != nullptr; }

private:
    std::FILE* m_Stream;  ///< Null where it could not be had.
};

}  // namespace platform

#endif
