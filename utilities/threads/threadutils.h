/// Named threads that can be suspended, waited for and killed.
#ifndef UTILITIES_THREADS_THREADUTILS_H
#define UTILITIES_THREADS_THREADUTILS_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

#include "utilities/frame/export.h"
#include "utilities/frame/relaxed.h"

/// A thread with a start function, or a base class whose `ThreadEntryPoint` a derived class
/// replaces. The object is the thread's handle for the rest of the program, and can run one thread
/// after the other: `Create` starts the next when the last one has ended, in whatever way.
///
///                             getHandle  getThreadId  getProcessId  listed in `ThreadList`
///     constructed             0          0            0             no
///     created suspended       set        set          0             no
///     running                 set        set          set           yes
///     entry point returned    0          0            0             no more
///     ended by EndThread      0          0            stays         stays
///     killed by Terminate     0          0            stays         stays, if it ever ran
///
/// All public operations but the destructor can be called from any thread, the object's own too.
/// The object must outlive its thread, which its destructor sees to by killing it; a derived class
/// whose thread uses its members must have the thread end before its own destructor begins.
///
/// A kill is the last resort; ask a thread to return where you can. It ends the thread between two
/// instructions of the client's code, in a system call or in a wait, and can leave behind
///  - memory, descriptors and all else that the thread owned, as no destructor of its frames runs;
///  - data half-changed, and locks of the client's own taken for ever;
///  - a `MutexLock` that it held: the next `Lock` gets it and reports that;
///  - its entry in `ThreadList`.
/// No lock of this library stays taken, and none of the C library: a thread inside that is not
/// stopped there. The exception is one that has slept there for a second, as in a `std::getline` on
/// a terminal: the lock of its input stream stays taken. So a thread that never leaves the C
/// library otherwise, or blocks all signals, can't be killed or suspended, which fails after 5
/// seconds. A real-time signal is claimed for this with the first thread. The main thread must not
/// end by pthread_exit after a kill, as the process would then end without flushing its streams.
///
/// In the child of a fork threads of the parent have ended, as if they had been killed.
class UTILITIES_EXPORT SystemThread {
private:
    /// Runs on the new thread; its result is the exit code. It stands here as the first in the
    /// table of virtual functions.
    virtual unsigned int ThreadEntryPoint();

public:
    enum E_THREAD_PRIORITY : int {
        E_THREAD_PRIORITY_IDLE = -15,
        E_THREAD_PRIORITY_LOWEST = -2,
        E_THREAD_PRIORITY_BELOW_NORMAL = -1,
        E_THREAD_PRIORITY_NORMAL = 0,
        E_THREAD_PRIORITY_ABOVE_NORMAL = 1,
        E_THREAD_PRIORITY_HIGHEST = 2,
        E_THREAD_PRIORITY_TIME_CRITICAL = 15
    };

    /// Starts nothing. The thread will run `entry` with this object; null means a thread that ends
    /// at once with exit code 0. A name of any length stays whole here; the system's own tools show
    /// its first 15 bytes.
    SystemThread(const std::string& name, unsigned int (*entry)(SystemThread*));

    /// `Terminate(0)`, with its line on the standard output in every case.
    virtual ~SystemThread();

    /// Starts the thread, or leaves it to `Resume` to let it begin. False where this object has a
    /// thread that has not ended, and where the platform refuses one. The second argument has no
    /// effect. What the entry point returns becomes the exit code; an exception that leaves it ends
    /// the process.
    bool Create(bool suspended, int);

    /// Kills the thread, suspended or not, and stores `exitCode`. Without a thread only the latter.
    /// True when there is no thread any more. False, after a report on the standard error stream
    /// and with nothing changed, where it lives on. Called by the thread itself it doesn't return.
    ///
    /// Writes "NAME [ID]\t terminating...  -> success!" or " -> failed!" on the standard output. A
    /// part is left out if a thread that is blocked in a print keeps that stream for half a second.
    bool Terminate(unsigned int exitCode);

    /// Adds one suspension; has taken effect on return. Gives the number of suspensions before, or
    /// 0xFFFFFFFF without a thread or where the platform failed. The thread runs while there are
    /// none.
    unsigned int Suspend();

    /// Takes one suspension away, if there is one. The result is that of `Suspend`.
    unsigned int Resume();

    /// Waits at most `timeout` milliseconds for the thread's end; 0xFFFFFFFF sets no limit. False
    /// when the time ran out, and without a thread: also when it has ended already. After true all
    /// that the thread's end changes here has been changed.
    bool WaitForThreadExit(unsigned int timeout);

    /// Without a thread this has no effect, also on the next one. What the process has no right to
    /// do is silently not done.
    void setPriority(E_THREAD_PRIORITY priority);

    /// Normal without a thread, and for what is none of the enumerators.
    E_THREAD_PRIORITY getPriority() const;

    /// What stands for the thread on this platform, null without one.
    void* getHandle() const;

    /// The id that the running thread found for itself, as in the list of mutexes.
    unsigned int getProcessId() const;

    /// The id that the thread was created with; the same number.
    unsigned int getThreadId() const;

    /// That of the last end, 0 before.
    unsigned int getExitCode() const;

    std::string getThreadName() const;

    /// `ThreadList` shows the name that the object has when its thread begins to run: a new name is
    /// seen from the next `Create` on, or from `Resume` for a thread that has not run yet.
    void setThreadName(std::string name);

protected:
    /// Ends the calling thread, which must be this object's, at once: nothing that its frames hold
    /// is destroyed. Its entry in `ThreadList` stays.
    void EndThread(unsigned int exitCode);

private:
    friend struct SystemThreadAfterFork;

    static unsigned int ThreadExecute(void* self);

    SystemThread(const SystemThread&);
    void operator=(const SystemThread&);

    UTILITIES_LOCAL void* Start(void* last);
    UTILITIES_LOCAL void Enter();
    UTILITIES_LOCAL void EndRun(unsigned int exitCode);
    UTILITIES_LOCAL void PrintTermination() const;
    UTILITIES_LOCAL std::size_t CopyName(std::size_t start, char* piece, std::size_t size) const;
    UTILITIES_LOCAL bool Kill(unsigned int exitCode);
    UTILITIES_LOCAL void* AnnounceKill(unsigned int exitCode, unsigned int& id);
    UTILITIES_LOCAL void FinishKill(void* handle, unsigned int exitCode);

    // The thread and everybody else read and write these. What belongs together is changed under
    // one lock; `m_Handle` comes last, as it tells that the object is free for the next thread.
    Relaxed<std::uint32_t> m_ProcessId;
    Relaxed<std::uint32_t> m_ExitCode;
    unsigned int (*m_EntryFunction)(SystemThread*);
    std::string m_ThreadName;
    Relaxed<std::uint32_t> m_ThreadId;
    std::atomic<void*> m_Handle;
    std::uint32_t m_KillExitCode = 0;  ///< For whoever finds the thread killed.
};

#endif
