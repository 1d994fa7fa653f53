/// The request by which one thread has another one stop.
///
/// `ThreadRecord::control` says what is wanted: suspensions, a kill. It may be changed at any time.
/// `ThreadRecord::request` is how the two threads agree on the moment. Its state:
///
///     NONE       Nobody asks.
///     ASKED      The requester has sent the signal. It may take the request back.
///     DEFERRED   The thread was under a `StopDeferral` when the signal came. It looks again in
///                its waits and at the end of the deferral. The requester may take it back.
///     DECIDING   The thread looks whether it can stop where it is. A few steps; nobody takes
///                it back.
///     AGREED     The thread stops: it parks, leaves its frames, or exits on the spot.
///
/// NONE to ASKED, and back from ASKED or DEFERRED, are the requester's steps, all others the
/// thread's; each is one exchange, so a thread never stops for a request that was taken back. From
/// DECIDING a thread that can't stop goes to NONE; from AGREED one that has parked or left does.
/// The requester sleeps on the word.
///
/// Why a requester must know: it holds the standard streams from before ASKED until it sees NONE,
/// or that the thread has parked or exited. A thread that stops in between holds neither of them.
#ifndef UTILITIES_PLATFORM_LINUX_THREADS_STOPREQUEST_H
#define UTILITIES_PLATFORM_LINUX_THREADS_STOPREQUEST_H

#include <cstdint>

#include "utilities/platform/linux/threads/record.h"

namespace platform {

inline constexpr std::uint32_t REQUEST_NONE = 0;
inline constexpr std::uint32_t REQUEST_ASKED = 1;
inline constexpr std::uint32_t REQUEST_DEFERRED = 2;
inline constexpr std::uint32_t REQUEST_DECIDING = 3;
inline constexpr std::uint32_t REQUEST_AGREED = 4;

/// Beside the states ASKED to AGREED: the requester holds the standard streams.
inline constexpr std::uint32_t REQUEST_STREAMS = 8;
/// The requester has lost patience: sleeping anywhere will do.
inline constexpr std::uint32_t REQUEST_FORCE = 16;

constexpr std::uint32_t RequestState(std::uint32_t request) { return request & 7; }

/// The thread's steps. Exchanges the state `from` for `to` and keeps the flags; false where the
/// state is another one.
bool MoveRequest(ThreadRecord& record, std::uint32_t from, std::uint32_t to);

/// Ends the request, in whatever state it is, and wakes the requester.
void EndRequest(ThreadRecord& record);

/// Whether anything is wanted of the thread.
bool IsStopWanted(const ThreadRecord& record);
bool IsKilled(const ThreadRecord& record);

/// Whether the calling thread, which is about to stop, holds neither standard stream: the requester
/// holds them, or other threads do.
bool HoldsNoStream(std::uint32_t request);

/// Stays here while the calling thread, whose record it is, is suspended and not killed.
void Park(ThreadRecord& record);

/// Adds or takes one suspension. Returns the count before, COUNT_FAILED for a thread that has
/// exited and beyond 2^30 - 1.
std::uint32_t AddSuspension(ThreadRecord& record);
std::uint32_t RemoveSuspension(ThreadRecord& record);

/// Has the calling thread park at the end of its deferrals, by its own wish.
void ParkAtEndOfDeferrals();

}  // namespace platform

#endif
