/// A clock that moves only when it is told to.
#ifndef TESTS_FAKES_CLOCK_H
#define TESTS_FAKES_CLOCK_H

#include <atomic>
#include <cstdint>

namespace fakes {

/// What the clocks show. A pause doesn't wait and doesn't move them; it leaves "pause N" on the
/// standard error stream.
inline std::atomic<std::uint32_t> milliseconds{0};

}  // namespace fakes

#endif
