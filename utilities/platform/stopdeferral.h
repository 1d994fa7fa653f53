/// Keeping the calling thread from being stopped for a few steps.
#ifndef UTILITIES_PLATFORM_STOPDEFERRAL_H
#define UTILITIES_PLATFORM_STOPDEFERRAL_H

namespace platform {

/// Defers kills and suspensions of the calling thread for as long as it lives on that thread's
/// stack. It belongs around every step that would leave a lock taken, a descriptor unowned or a
/// list half linked if the thread stopped there. Deferrals nest; a request that stands at the end
/// of the outermost one is served in its destructor, which need not return then. One that was taken
/// back meanwhile is made anew some milliseconds later. Cheap: it counts in a field of the thread.
///
/// Code under a deferral must end soon: whoever wants to stop the thread waits for it. The waits of
/// `waitable.h` may be called under a deferral of their own only: under a second one a thread that
/// waits can't be stopped.
class StopDeferral {
public:
    StopDeferral();
    ~StopDeferral();
    StopDeferral(const StopDeferral&) = delete;
    StopDeferral& operator=(const StopDeferral&) = delete;
};

}  // namespace platform

#endif
