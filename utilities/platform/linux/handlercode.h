/// What differs where the thread sanitizer watches: it holds signals back until a place that suits
/// it, which a busy loop never reaches, it must not be entered from a handler that came in the
/// midst of it, and a thread must not end behind its back.
/// In a call that it takes for blocking, and after a kill there, it doesn't follow locks: what the
/// stopped thread does under a lock of ours is not to be judged.
#ifndef UTILITIES_PLATFORM_LINUX_HANDLERCODE_H
#define UTILITIES_PLATFORM_LINUX_HANDLERCODE_H

#if defined(__SANITIZE_THREAD__)
#define UTILITIES_WATCHED_THREADS 1
#define HANDLER_CODE __attribute__((no_sanitize_thread))
#else
#define UTILITIES_WATCHED_THREADS 0
#define HANDLER_CODE
#endif

#endif
