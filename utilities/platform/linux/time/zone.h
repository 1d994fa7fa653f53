/// A time zone: what its clocks have shown, and will show, at each instant of signed 32 bits.
#ifndef UTILITIES_PLATFORM_LINUX_TIME_ZONE_H
#define UTILITIES_PLATFORM_LINUX_TIME_ZONE_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace platform {

/// How a zone's clocks are set.
struct ZoneClock {
    std::int32_t offset;  ///< Seconds ahead of GMT.
    bool isDaylight;      ///< Whether this is daylight saving time.
    const char* name;     ///< Such as "CET". It stays valid for as long as the zone's object.
};

/// A time through which a zone's clocks keep their setting. It ends where the next span begins.
struct ZoneSpan {
    std::int64_t from;
    ZoneClock clock;
    std::int32_t standard;  ///< The offset of standard time: in force, or what daylight saving time
                            ///< is ahead of.
};

/// The spans of a zone in order, from the beginning of time to its end.
///
/// An object is filled by `Begin`, any number of `Add` and `Finish`, as often as the zone changes;
/// from `Finish` on it holds one span at least. A zeroed object is valid and holds none. It has no
/// destructor, so that a static one can be used as long as the process runs. Not for several
/// threads at a time.
class Zone {
public:
    /// The index of the span that holds `instant`.
    std::size_t IndexAt(std::int64_t instant) const;

    const ZoneSpan& operator[](std::size_t index) const { return m_Spans[index]; }
    std::size_t Count() const { return m_Count; }

    /// Where the span ends: the first instant after it.
    std::int64_t EndOf(std::size_t index) const { return m_Spans[index + 1].from; }

    /// From when the last span's clock is in force.
    std::int64_t LastFrom() const { return m_Spans[m_Count - 1].from; }

    /// Drops all spans and starts with one from the beginning of time.
    void Begin(const ZoneClock& clock);

    /// Appends a span. No effect if `from` is earlier than that of the last span, beyond signed 32
    /// bits, or the zone is full; a span from the same instant replaces the last one.
    void Add(std::int64_t from, const ZoneClock& clock);

    /// Works out the standard time of each span, and ends the last one.
    void Finish();

    /// A copy of a clock's name. Equal names share one copy. Empty for a name that no longer fits,
    /// except UTC: there is space for about 600 different ones, which are kept when the zone
    /// changes, as records that were handed out point at them.
    const char* KeepName(std::string_view name);

private:
    // The zone of the database with the most changes in 32 bits has about 240; a rule makes two a
    // year, 276 from 1901 to 2038, and follows up to as many of a file. Behind the last span stands
    // one that begins at the end of time.
    std::array<ZoneSpan, 640> m_Spans{};
    std::size_t m_Count = 0;

    // Each name with its NUL, one after the other. The size is stored after the name, so that a
    // fork at any moment leaves the child whole names.
    std::array<char, 4096> m_Names{};
    std::atomic<std::size_t> m_NamesSize{0};
};

}  // namespace platform

#endif
