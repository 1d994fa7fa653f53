/// The list of the threads that run under a `SystemThread`.
#ifndef UTILITIES_THREADS_THREADLIST_H
#define UTILITIES_THREADS_THREADLIST_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "utilities/frame/export.h"

/// One entry: a thread's id and the first ten characters of the name that it had at its start.
struct ThreadInfo {
    /// Without arguments the empty entry, which has the id of no thread.
    ThreadInfo(unsigned int id = 0, const std::string& name = "") : m_ThreadId(id) {
        name.copy(m_ThreadName, sizeof m_ThreadName - 1);
    }

    std::uint32_t m_ThreadId;
    char m_ThreadName[11] = {};  ///< Zero-filled, always terminated.
};

/// Each thread enters itself when it starts and leaves when its entry point returns. Entries of
/// threads that ended in another way, by `SystemThread::EndThread` or `Terminate`, stay.
///
/// A client walks the list by rising index until an id is 0; a thread that leaves meanwhile moves
/// those behind it down by one. All operations can be called from any thread.
class ThreadList {
public:
    /// The one list of the process, made empty by the first call and never destroyed by itself.
    UTILITIES_EXPORT static ThreadList* getInstance();

    /// Ends the list, if there is one; the next `getInstance` makes a new one, which knows nothing
    /// of the threads that run by then.
    UTILITIES_EXPORT static void deleteInstance();

    /// A copy of the entry at `index`, in the order of the threads' starts; the empty one where
    /// there is none, or where `deleteInstance` has ended this list. Entries beyond the 256th are
    /// out of reach.
    UTILITIES_EXPORT ThreadInfo getThreadInfo(unsigned char index) const;

private:
    friend class SystemThread;
    friend struct ThreadListAfterFork;

    UTILITIES_LOCAL ThreadList();
    UTILITIES_LOCAL ~ThreadList();
    ThreadList(const ThreadList&) = delete;
    ThreadList& operator=(const ThreadList&) = delete;

    UTILITIES_LOCAL void addThread(const ThreadInfo& info);
    UTILITIES_LOCAL void removeThread(unsigned int id);

    std::vector<ThreadInfo> m_Threads;
};

#endif
