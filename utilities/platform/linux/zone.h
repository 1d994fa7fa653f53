/// A time zone: what its clocks have shown, and will, at each instant of signed 32 bits.
#ifndef UTILITIES_PLATFORM_LINUX_ZONE_H
#define UTILITIES_PLATFORM_LINUX_ZONE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace platform {

/// One way of telling the time.
struct ZoneClock {
    std::int32_t offset;  ///< Seconds that it is ahead of GMT.
    bool isDaylight;
    const char* name;  ///< Such as CET; stays valid.
};

/// A time through which a zone's clocks keep their offset. It ends where the next begins.
struct ZoneSpan {
    std::int64_t from;
    ZoneClock clock;
    std::int32_t standard;  ///< The offset of standard time, in force or behind daylight saving.
};

/// The spans of a zone, in order, from the beginning of time to its end. Filled with `Begin`, `Add`
/// and `Finish`; it is never empty. Without constructor or destructor, so that it can be static.
class Zone {
public:
    /// The index of the span that holds `instant`.
    std::size_t IndexAt(std::int64_t instant) const;

    const ZoneSpan& operator[](std::size_t index) const { return spans[index]; }
    std::size_t Count() const { return count; }

    /// Where the span ends.
    std::int64_t EndOf(std::size_t index) const {
        return index + 1 < count ? spans[index + 1].from : std::numeric_limits<std::int64_t>::max();
    }

    /// Starts anew, with the clock of the beginning.
    void Begin(const ZoneClock& clock);

    /// The clock that is in force from `from` on, not before the last one's `from`. Without effect
    /// beyond signed 32 bits.
    void Add(std::int64_t from, const ZoneClock& clock);

    /// Works out the standard time of each span.
    void Finish();

    /// From when the last clock is in force.
    std::int64_t LastFrom() const { return spans[count - 1].from; }

private:
    std::array<ZoneSpan, 640> spans;
    std::size_t count;
};

/// A copy of a clock's name that is there for as long as the library is. Empty once about 600
/// different ones have been seen.
const char* KeepName(std::string_view name);

}  // namespace platform

#endif
