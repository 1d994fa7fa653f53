/// Code that the thread sanitizer must not see.
///
/// The sanitizer holds signals back until a place that suits it, which a busy loop never reaches;
/// it must not be entered from a handler that interrupted it; and a thread must not end without its
/// knowledge. A thread that was interrupted in a call that it takes for blocking executes in a
/// state in which it follows no lock: accesses to plain data under a lock of this layer would be
/// reported.
///
/// So the handler and the plain steps on lists that it can lead to are `HANDLER_CODE`. What hands
/// something from one thread to another, a store or exchange of an atomic, never is: the sanitizer
/// must see it, or it reports what a client hands over through our objects.
#ifndef UTILITIES_PLATFORM_LINUX_SYNC_SANITIZER_H
#define UTILITIES_PLATFORM_LINUX_SYNC_SANITIZER_H

#if defined(__SANITIZE_THREAD__)
#define UTILITIES_WATCHED_THREADS 1
#define HANDLER_CODE __attribute__((no_sanitize_thread))
#else
#define UTILITIES_WATCHED_THREADS 0
#define HANDLER_CODE
#endif

#endif
