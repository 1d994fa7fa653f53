/// The record of a thread that was started here.
#ifndef UTILITIES_PLATFORM_LINUX_RECORD_H
#define UTILITIES_PLATFORM_LINUX_RECORD_H

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "utilities/platform/linux/waiting.h"

namespace platform {

/// What a thread is asked to do: the number of suspensions, and these.
inline constexpr std::uint32_t CONTROL_KILL = 0x80000000;
inline constexpr std::uint32_t CONTROL_FORCE = 0x40000000;  ///< Wherever it is.
inline constexpr std::uint32_t SUSPENSIONS = 0x3FFFFFFF;

struct ThreadRecord {
    /// The handle, each operation on it, and the thread until it has been joined hold one.
    std::atomic<std::uint32_t> references{2};
    std::atomic<std::uint32_t> control{1};
    std::atomic<bool> parked{false};      ///< The thread sits out a suspension.
    std::atomic<bool> signalled{false};   ///< A signal is on its way to the thread.
    std::atomic<bool> ended{false};       ///< Nothing but the system's own rest is left of it.
    std::atomic<bool> unattended{false};  ///< It has ended or has no handle any more.
    std::atomic<int> priority{0};
    std::uint32_t id = 0;
    unsigned int (*start)(void*) = nullptr;
    void* argument = nullptr;

    Turnstile changes;  ///< For those that wait for `parked` or `ended`.

    Lock joinLock;  ///< Guards the two below: `thread` is valid until it was joined.
    bool joined = false;
    pthread_t thread{};
    ThreadRecord* nextEnded = nullptr;
};

void Unreference(ThreadRecord* record);

/// A thread's handle was closed, and a thread ends, in any order.
void OnHandleClosed(ThreadRecord& record);
void OnEnd(ThreadRecord& record);

/// Holds the record of an open thread handle, or none.
class RecordReference {
public:
    explicit RecordReference(Handle handle);
    ~RecordReference() { Unreference(record); }
    RecordReference(const RecordReference&) = delete;
    RecordReference& operator=(const RecordReference&) = delete;
    explicit operator bool() const { return record != nullptr; }
    ThreadRecord& operator*() const { return *record; }

private:
    ThreadRecord* record = nullptr;
};

/// Waits until the system has given back all of a thread that has ended.
void Join(ThreadRecord& record);

/// Hands the record of the calling thread, which ends, to those that clean up.
void AddEnded(ThreadRecord& record);

/// Gives back what is left of threads that have ended since. Called by whatever starts, ends or
/// waits for threads, so that nothing heaps up.
void CleanUpEnded();

/// The same for all, at the unload: none of them may still run code of the library then. Threads
/// without a handle are given a moment to end, as their owners take them for ended.
void JoinEnded();

/// In the child of a fork no other thread runs.
void ForgetThreadsAfterFork();

/// Waits until the thread has ended and the system has given it back.
std::uint32_t WaitForThread(ThreadRecord& record, std::uint32_t milliseconds);

}  // namespace platform

#endif
