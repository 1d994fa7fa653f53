/// A serial line that does what it is told to, and notes what is asked of it.
#ifndef TESTS_FAKES_SERIAL_H
#define TESTS_FAKES_SERIAL_H

#include <cstdint>
#include <deque>
#include <string>
#include <utility>

#include "utilities/platform/types.h"

namespace fakes {

struct SerialLine {
    std::string calls;  ///< Each followed by "; ".
    bool isMissing = false;
    bool refusesSettings = false;
    DCB settings;
    std::uint32_t modemLines = 0, inQueue = 0, outQueue = 0, error = 5;
    int looksUntilSent = -1;  ///< Looks at the queues up to the one that finds all sent; -1: never.
    /// The outcomes of reads and writes: success and bytes. Behind the last all that is asked for.
    std::deque<std::pair<bool, std::uint32_t>> transfers;
    std::string sent;
};

/// The one line there is. A look at its queues moves the clock of `clock.h` on by a millisecond.
inline SerialLine line;

/// What was asked for since the last time.
inline std::string TakeCalls() { return std::exchange(line.calls, {}); }

}  // namespace fakes

#endif
