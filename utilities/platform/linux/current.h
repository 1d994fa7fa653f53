/// What the layer keeps of each thread, in the thread.
#ifndef UTILITIES_PLATFORM_LINUX_CURRENT_H
#define UTILITIES_PLATFORM_LINUX_CURRENT_H

#include <csetjmp>

#include <atomic>
#include <cstdint>

namespace platform {

struct ThreadRecord;

/// Shared between the thread and the signal handler that interrupts it. It has no destructor, which
/// would keep the library in memory for as long as the thread lives.
struct CurrentThread {
    std::uint32_t id;                ///< The kernel's, 0 before it was asked for.
    std::uint32_t locker;            ///< The same, 0 unless the thread's end is watched.
    volatile std::uint32_t busy;     ///< Number of `HoldOff`s.
    volatile std::uint32_t pending;  ///< A request came meanwhile.
    std::atomic<std::uint32_t>* volatile sleepWord;  ///< What it sleeps on in a wait.
    ThreadRecord* volatile record;  ///< Null for a thread that wasn't started here.
    sigjmp_buf* volatile base;      ///< The way out of all its frames.
};

extern constinit thread_local CurrentThread current __attribute__((tls_model("initial-exec")));

/// Makes sure that what the calling thread holds is handed on when it ends. Gives its id.
std::uint32_t WatchThreadEnd();

/// The calling thread's id for holding mutexes.
inline std::uint32_t LockerId() { return current.locker != 0 ? current.locker : WatchThreadEnd(); }

/// Whether a kill of the calling thread waits for nothing but its last `HoldOff`.
bool MustDie();

/// Does what was asked of the calling thread while it held requests off, where this is its last
/// `HoldOff`: stays here while it is suspended. A kill is left to the end of the `HoldOff`.
void ServeSuspension();

}  // namespace platform

#endif
