/// What the parts of the library do around a fork, so that the child can use all of it at once.
///
/// A child has one thread, a copy of the one that forked, and a copy of the memory as other threads
/// left it in the middle of their work: locks taken by threads that don't exist there, lists with
/// such threads in them. Each source with a lock or a record of its own joins here with a static
/// `AtFork` beside it; nothing lists them all.
#ifndef UTILITIES_PLATFORM_FORK_H
#define UTILITIES_PLATFORM_FORK_H

#include <cstdint>

namespace platform {

/// The order of the parts. What runs before a fork runs from the last to the first, what runs after
/// it from the first to the last: so a part may rely on those that come before it.
enum class ForkOrder { HANDLES, THREADS, LOCKS, SUBSYSTEMS };

/// A part's share in a fork. Define it as a static object; it is never taken back but by the
/// library's unload.
class AtFork {
public:
    using Action = void (*)();

    /// Each of the actions may be null. `before` and `inParent` frame the fork in the thread that
    /// forks: typically they take a lock and release it, so that the child sees no half-done
    /// change. `before` must not wait for anything that a stopped thread can hold: only for locks
    /// that are held under a `StopDeferral`. `inChild` sets right what the threads that don't exist
    /// there left behind, and resets the locks; it runs while no other thread can.
    AtFork(ForkOrder order, Action before, Action inParent, Action inChild);
    AtFork(const AtFork&) = delete;
    AtFork& operator=(const AtFork&) = delete;

    /// In an `inChild` action: the id that the calling thread had in the parent, 0 if it had never
    /// been asked for. The thread has its new id already.
    static std::uint32_t ParentThreadId();

    /// How many forks lie between the process that loaded the library and this one.
    static std::uint32_t Generation();

    /// Runs the actions of all parts. For the handlers of the system's fork alone.
    static void RunBefore();
    static void RunInParent();
    static void RunInChild();

private:
    const ForkOrder m_Order;
    const Action m_Before;
    const Action m_InParent;
    const Action m_InChild;
    AtFork* m_Next = nullptr;
    AtFork* m_Previous = nullptr;
};

}  // namespace platform

#endif
