#include "utilities/platform/linux/sync/futexlock.h"

namespace platform {

namespace {

// How often a thread looks before it sleeps: about as long as a holder needs for its few steps.
constexpr int SPINS = 40;

}  // namespace

void FutexLock::LockSlowly() {
    for (int spin = 0; spin < SPINS; ++spin) {
        if (m_Word.load(std::memory_order_relaxed) == 0 && try_lock())
            return;
        Pause();
    }
    while (m_Word.exchange(AWAITED, std::memory_order_acquire) != 0)
        FutexWait(m_Word, AWAITED, Deadline::None());
}

}  // namespace platform
