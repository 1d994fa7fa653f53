/// A clock that moves only when it is told to.
#ifndef TESTS_FAKES_CLOCK_H
#define TESTS_FAKES_CLOCK_H

#include <atomic>
#include <cstdint>
#include <functional>

namespace fakes {

/// What the clocks show. `Sleep` doesn't wait and doesn't move them; it writes "pause N" to the
/// standard error stream.
inline std::atomic<std::uint32_t> milliseconds{0};

/// What happens elsewhere while the clock is read the next time.
inline std::function<void()> atReading;

}  // namespace fakes

#endif
