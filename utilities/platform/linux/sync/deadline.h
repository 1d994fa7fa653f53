/// Limits of time for waits.
#ifndef UTILITIES_PLATFORM_LINUX_SYNC_DEADLINE_H
#define UTILITIES_PLATFORM_LINUX_SYNC_DEADLINE_H

#include <cstdint>
#include <ctime>

namespace platform {

/// A point on the monotonic clock up to which to wait, or none.
class Deadline {
public:
    /// `milliseconds` from now; INFINITE is none.
    explicit Deadline(std::uint32_t milliseconds);
    static Deadline AfterNanoseconds(std::int64_t nanoseconds);
    static Deadline None();

    /// In the form that the system's waits take: null without a limit.
    const timespec* Get() const { return m_IsLimited ? &m_When : nullptr; }
    bool IsOver() const;

    /// Whether it comes first.
    bool operator<(const Deadline& other) const;

private:
    timespec m_When{};
    bool m_IsLimited = true;
};

}  // namespace platform

#endif
