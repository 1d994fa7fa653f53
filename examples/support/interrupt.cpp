#include "interrupt.h"

#include <atomic>
#include <csignal>

namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set by a signal handler");

}  // namespace

void CatchInterrupts() {
    struct sigaction action = {};
    action.sa_handler = [](int) { interrupted = true; };
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool IsInterrupted() { return interrupted; }

void StopIfInterrupted() {
    if (IsInterrupted())
        throw Interrupted();
}
