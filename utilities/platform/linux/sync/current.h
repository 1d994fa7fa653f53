/// What the layer keeps of each thread, in the thread itself.
///
/// The fields are shared between the thread and the signal handler that interrupts it, and with
/// nobody else: relaxed atomics order nothing between threads, and fences for the compiler keep the
/// order that the handler relies on. There is no destructor, which would keep the library in memory
/// for as long as the thread lives.
#ifndef UTILITIES_PLATFORM_LINUX_SYNC_CURRENT_H
#define UTILITIES_PLATFORM_LINUX_SYNC_CURRENT_H

#include <csetjmp>

#include <atomic>
#include <cstdint>

namespace platform {

struct Slot;
struct ThreadRecord;

/// A field of the thread that its signal handler reads and writes too. A handler runs to its end
/// between two instructions of the thread, so plain loads and stores are enough.
template <class Value>
class HandlerShared {
public:
    constexpr HandlerShared() = default;
    // Always inline: part of the handler, which the thread sanitizer must not see.
    [[gnu::always_inline]] operator Value() const {
        return m_Value.load(std::memory_order_relaxed);
    }
    [[gnu::always_inline]] HandlerShared& operator=(Value value) {
        m_Value.store(value, std::memory_order_relaxed);
        return *this;
    }

private:
    std::atomic<Value> m_Value{};
};

struct CurrentThread {
    std::uint32_t id;      ///< The kernel's, 0 before it was asked for.
    std::uint32_t locker;  ///< The same, 0 unless the thread's end is watched.
    /// First-level acquisitions of mutexes. Raised before a mutex is taken and lowered after it was
    /// released: a thread that is killed holds no mutex that isn't counted.
    std::uint32_t held;
    /// The mutex that the thread released last: see `FinishRelease` of mutex.h.
    HandlerShared<Slot*> released;

    HandlerShared<std::uint32_t> deferrals;  ///< How many live, see `StopDeferral`.
    HandlerShared<bool> pending;             ///< A stop was asked for under a deferral.
    HandlerShared<bool> committed;           ///< The thread has agreed to stop: see stopping.h.
    HandlerShared<std::atomic<std::uint32_t>*> sleepWord;  ///< What it sleeps on in a wait.
    HandlerShared<ThreadRecord*> record;  ///< Null for a thread that wasn't started here.
    HandlerShared<sigjmp_buf*> base;      ///< The way out of all its frames.
    std::uintptr_t stackBase;             ///< Where those frames begin.
};

extern constinit thread_local CurrentThread current __attribute__((tls_model("initial-exec")));

/// What a `StopDeferral` does at its beginning. It stays for as long as nothing ends it.
inline void BeginDeferral() {
    current.deferrals = current.deferrals + 1;
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

/// Ends all deferrals of the calling thread, and does what was asked for meanwhile. Implemented by
/// the threads' folder, which stands above. May not return.
void EndAllDeferrals();

/// What a `StopDeferral` does at its end. May not return. What comes before the handler acts by
/// itself again is found by the look that follows.
inline void EndDeferral() {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    const std::uint32_t others = current.deferrals - 1;
    current.deferrals = others;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (others == 0 && (current.pending || current.committed)) [[unlikely]]
        EndAllDeferrals();
}

}  // namespace platform

#endif
