/// The record of a thread that was started here.
#ifndef UTILITIES_PLATFORM_LINUX_THREADS_RECORD_H
#define UTILITIES_PLATFORM_LINUX_THREADS_RECORD_H

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "utilities/platform/linux/sync/waitqueue.h"

namespace platform {

/// In `control`: the thread must end. The rest is the number of its suspensions.
inline constexpr std::uint32_t CONTROL_KILL = 0x80000000;
inline constexpr std::uint32_t SUSPENSIONS = 0x3FFFFFFF;

/// Where a thread slept when its signal handler looked last, and how often in a row.
struct Sighting {
    std::uintptr_t code = 0;
    std::uintptr_t stack = 0;
    int count = 0;
};

/// A debugger reads `control`, `id` and `changes`: gdb/libUtilities-gdb.py has their places.
struct ThreadRecord {
    /// The handle, each operation on it, and the thread until it has been joined hold one.
    std::atomic<std::uint32_t> references{2};
    std::atomic<std::uint32_t> control{1};
    std::atomic<std::uint32_t> request{0};  ///< See stoprequest.h.
    std::atomic<bool> signalled{false};     ///< A signal is on its way to the thread.
    std::atomic<bool> parked{false};        ///< The thread sits out a suspension.
    std::atomic<bool> leaving{false};       ///< It has left the client's frames.
    std::atomic<bool> exited{false};        ///< Only the system's own part of its end is left.
    std::atomic<bool> detached{false};      ///< It has ended or has no handle any more.
    std::atomic<int> priority{0};
    std::uint32_t id = 0;
    unsigned int (*start)(void*) = nullptr;
    void* argument = nullptr;
    Sighting sighting;  ///< The thread's own.

    ConditionVariable changes;  ///< Notified of `parked`, `exited` and the end of a join.

    /// Guards what follows. `thread` is valid until `isJoined`, and may be used by others until
    /// `isJoining`.
    FutexLock joinLock;
    bool isJoining = false;
    bool isJoined = false;
    pthread_t thread{};
    ThreadRecord* nextExited = nullptr;
};

void Unreference(ThreadRecord* record);

/// Holds the record of an open thread handle, or none.
class RecordReference {
public:
    explicit RecordReference(Handle handle);
    ~RecordReference() { Unreference(m_Record); }
    RecordReference(const RecordReference&) = delete;
    RecordReference& operator=(const RecordReference&) = delete;
    explicit operator bool() const { return m_Record != nullptr; }
    ThreadRecord& operator*() const { return *m_Record; }

private:
    ThreadRecord* m_Record = nullptr;
};

}  // namespace platform

#endif
