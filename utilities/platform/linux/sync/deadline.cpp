#include "utilities/platform/linux/sync/deadline.h"

#include "utilities/platform/waitable.h"

namespace platform {

namespace {

constexpr std::int64_t SECOND = 1'000'000'000;  // In nanoseconds.

bool IsBefore(const timespec& first, const timespec& second) {
    return first.tv_sec != second.tv_sec ? first.tv_sec < second.tv_sec
                                         : first.tv_nsec < second.tv_nsec;
}

timespec Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

}  // namespace

Deadline::Deadline(std::uint32_t milliseconds) {
    if (milliseconds == INFINITE)
        m_IsLimited = false;
    else
        *this = AfterNanoseconds(std::int64_t{milliseconds} * 1'000'000);
}

Deadline Deadline::AfterNanoseconds(std::int64_t nanoseconds) {
    Deadline deadline = None();
    deadline.m_IsLimited = true;
    const timespec now = Now();
    const std::int64_t sum = now.tv_nsec + nanoseconds;
    deadline.m_When.tv_sec = now.tv_sec + sum / SECOND;
    deadline.m_When.tv_nsec = sum % SECOND;
    return deadline;
}

Deadline Deadline::None() { return Deadline(INFINITE); }

bool Deadline::IsOver() const { return m_IsLimited && !IsBefore(Now(), m_When); }

bool Deadline::operator<(const Deadline& other) const {
    return m_IsLimited && (!other.m_IsLimited || IsBefore(m_When, other.m_When));
}

}  // namespace platform
