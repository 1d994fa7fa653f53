#include "utilities/platform/canceldeferral.h"

#include <pthread.h>

#if defined(__SANITIZE_ADDRESS__)
extern "C" void __asan_handle_no_return();
#endif

namespace platform {

namespace {

/// The calling thread's deferrals, and its state without them.
struct Cancellation {
    int depth;
    int stateBefore;
};
constinit thread_local Cancellation cancellation{};

/// The address sanitizer knows of exceptions that leave frames, but not of cancellations, and would
/// take the left frames' variables for those of the next calls.
void ForgetFrames() {
#if defined(__SANITIZE_ADDRESS__)
    __asan_handle_no_return();
#endif
}

}  // namespace

CancelDeferral::CancelDeferral() {
    if (cancellation.depth++ == 0)
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancellation.stateBefore);
}

CancelDeferral::~CancelDeferral() {
    if (--cancellation.depth == 0)
        pthread_setcancelstate(cancellation.stateBefore, nullptr);
}

void CancelDeferral::Serve() {
    if (cancellation.depth == 0)
        return;
    int deferred;
    pthread_setcancelstate(cancellation.stateBefore, &deferred);
    ForgetFrames();
    pthread_testcancel();
    pthread_setcancelstate(deferred, nullptr);
}

}  // namespace platform
