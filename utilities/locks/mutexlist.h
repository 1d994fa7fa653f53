/// The list of all mutexes of the process, and the search for a deadlock in it.
///
/// Every `MutexLock` publishes its name, its owner and up to five waiters in a table of 800
/// records. These functions read it while other threads write it and take no mutex, so they work in
/// a process that really is deadlocked. What they see is a picture of the moment: two lines, or two
/// fields of one, need not fit together. They can be called from any thread.
#ifndef UTILITIES_LOCKS_MUTEXLIST_H
#define UTILITIES_LOCKS_MUTEXLIST_H

#include <iosfwd>

#include "utilities/frame/export.h"

/// Writes two head lines and then a line for each mutex that is held, or with `showAll` for each
/// that exists: its name (at most 24 characters), its index and, where it is held, the ids of its
/// owner and of the threads inside `Lock`. The number in the first line tells how many records were
/// ever in use at once, not how many mutexes there are.
///
///     Display Mutex List: --> Mutex Count: 4
///     Mutex Name: Index -> O: Owner | W: Waiter | W: Waiter  ...
///     CM_MRU_CTL	 :   3   -> O:2140 | W: 3312 | W: 1876
///
/// Numbers come as the stream is set to format them. Each line is flushed.
UTILITIES_EXPORT void showMutexList(std::ostream& out, bool showAll);

/// Writes the same to the file "MutexList" in the working directory, in the place of what it held.
/// A file that can't be opened means no output, silently.
UTILITIES_EXPORT void WriteMutexListFile(bool showAll);

/// Ends the process where it is deadlocked, which is when a mutex has been held for more than 20
/// seconds since its holder's first-level `Lock` and a thread is inside `Lock` of it now; else
/// returns. Nothing more is looked at: no cycle, and not whether that thread would get it soon. A
/// mutex that was taken by `TryLock` counts from its last `Lock`, or from the start of the process.
///
/// The report goes to "./MutexLog", an older one to "./MutexLog.bak": the list of the mutexes that
/// are held, then the first 1023 bytes of "./vyThreadList", a text that the client may keep there.
/// Files that can't be opened are left out silently. 20 milliseconds later the process aborts, with
/// nothing released.
///
/// The library never calls this: a client that wants the check has a thread call it each few
/// seconds.
UTILITIES_EXPORT void checkMutexListForDeadlock();

#endif
