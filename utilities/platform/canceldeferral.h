/// Keeping the calling thread from being cancelled for a few steps.
#ifndef UTILITIES_PLATFORM_CANCELDEFERRAL_H
#define UTILITIES_PLATFORM_CANCELDEFERRAL_H

namespace platform {

/// Defers the cancellation of the calling thread by the system's own thread library, which a client
/// may use on its threads. A cancelled thread unwinds its stack at the next interruptible call, and
/// inside a destructor that ends the process. So the deferral belongs around steps whose
/// destructors close or wait. Deferrals nest. After the outermost one, the next interruptible call
/// of the client cancels the thread.
///
/// This is apart from `StopDeferral`, as the one who cancels waits for nobody.
class CancelDeferral {
public:
    CancelDeferral();
    ~CancelDeferral();
    CancelDeferral(const CancelDeferral&) = delete;
    CancelDeferral& operator=(const CancelDeferral&) = delete;

    /// Cancels the calling thread under its deferrals, if that was requested: all scopes are left
    /// as by an exception. For long waits, between their parts, where a thrown exception would be
    /// in order. Without a deferral it does nothing.
    static void Serve();
};

}  // namespace platform

#endif
