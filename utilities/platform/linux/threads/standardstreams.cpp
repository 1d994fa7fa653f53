#include "utilities/platform/standardstreams.h"

#include <ctime>

#include "utilities/platform/linux/sync/deadline.h"

namespace platform {

ScopedStream::ScopedStream(std::FILE* stream, std::uint32_t milliseconds) : m_Stream(stream) {
    const Deadline deadline(milliseconds);
    // The C library has no lock of a stream with a limit.
    while (ftrylockfile(stream) != 0) {
        if (deadline.IsOver()) {
            m_Stream = nullptr;
            return;
        }
        const timespec pause{0, 1'000'000};
        nanosleep(&pause, nullptr);
    }
}

ScopedStream::~ScopedStream() {
    if (m_Stream != nullptr)
        funlockfile(m_Stream);
}

}  // namespace platform
