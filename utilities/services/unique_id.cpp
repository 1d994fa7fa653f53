#include "utilities/services/unique_id.h"

#include "utilities/frame/relaxed.h"
#include "utilities/platform/clock.h"
#include "utilities/runtime/random.h"
#include "utilities/time/bqgmtime.h"

/// The counter of the next identifier; 0 before the first one, and never again. Not static, so that
/// a test can set it.
extern constinit Relaxed<std::uint64_t> uniqueCounter;
constinit Relaxed<std::uint64_t> uniqueCounter{0};

namespace {

constexpr std::uint64_t COUNTER_BITS = 0xFFF;
constexpr std::uint64_t FRACTION_BITS = 0xFFFFF;

std::uint64_t UnlessZero(std::uint64_t counter) { return counter != 0 ? counter : 1; }

std::uint64_t TakeCounter(std::int32_t seconds, std::int32_t fraction) {
    std::uint64_t counter = uniqueCounter;
    if (counter == 0) {
        runtime::srand(static_cast<unsigned int>(seconds));
        counter = UnlessZero(static_cast<std::uint64_t>(fraction) +
                             static_cast<std::uint64_t>(runtime::rand()));
    }
    uniqueCounter = UnlessZero(counter + 1);
    return counter;
}

}  // namespace

long long create_unique_id() {
    std::int32_t seconds = BqGMTime::time(nullptr);
    const std::int32_t fraction = static_cast<std::int32_t>(platform::clock()) % 1000;
    const std::uint64_t counter = TakeCounter(seconds, fraction);
    while (seconds == 0 || seconds == -1)
        seconds = static_cast<std::int32_t>(static_cast<std::uint32_t>(runtime::rand()) + 1);
    const std::uint64_t upper = static_cast<std::uint32_t>(seconds);
    return static_cast<long long>(upper << 32 | (counter & COUNTER_BITS) << 20 |
                                  (static_cast<std::uint64_t>(fraction) & FRACTION_BITS));
}
