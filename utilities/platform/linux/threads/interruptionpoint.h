/// Where a thread can be stopped without leaving a lock of the C or C++ library taken.
///
/// These libraries take their locks inside their functions and release them before they return. So
/// a thread holds none of them when none of its frames is one of theirs. The frames are found by
/// the unwinder, which with this C library takes no lock and no memory to do so. Three kinds of
/// frames of these libraries don't count:
///  - what lies below the thread's first frame: the start and the end of threads;
///  - the trampoline from which a signal handler returns;
///  - on top of all others, one function that has been called to block, if the thread sleeps in the
///    system call that this function is for.
/// Frames that can't be followed, as code without unwind tables has them, count as the library's.
#ifndef UTILITIES_PLATFORM_LINUX_THREADS_INTERRUPTIONPOINT_H
#define UTILITIES_PLATFORM_LINUX_THREADS_INTERRUPTIONPOINT_H

#include <cstdint>

namespace platform {

enum class Interruptibility {
    NONE,           ///< Inside the libraries.
    ASLEEP_INSIDE,  ///< The same, asleep in a system call that can take any time.
    IN_WAIT,  ///< In a function that waits. A jump out of it would have it take a mutex again.
    FULL
};

/// Where the signal handler's `context` says that the thread was interrupted.
struct InterruptedPlace {
    std::uintptr_t code;
    std::uintptr_t stack;
};
InterruptedPlace PlaceOf(const void* context);

/// Finds the libraries in memory, and has the unwinder do what it does once. To be called before
/// the others.
void PrepareInterruptionPoints();

/// Judges the place at which the calling thread was interrupted; `context` is the third argument of
/// its signal handler.
Interruptibility JudgeInterruptedPlace(const void* context);

/// Whether none of the calling thread's frames counts.
bool IsFreeOfRuntimeFrames();

}  // namespace platform

#endif
