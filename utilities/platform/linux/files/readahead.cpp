#include "utilities/platform/linux/files/readahead.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <new>

#include "utilities/platform/fork.h"
#include "utilities/platform/linux/sync/retry.h"
#include "utilities/platform/stopdeferral.h"

// The state of a descriptor is one word:
//
//     bit 0      the file may read ahead
//     bits 1-15  how many threads are writing to it
//     above      counts the writes that have ended, and the openings
//
// What a thread reads ahead is tagged with the word as it was before the read, and is used only as
// long as the word is the same and shows no writer. So it doesn't matter in which order a read and
// a write of two threads come about, or where one of them is killed.
//
// The rest belongs to one reader at a time, to whoever has set `isTaken`; a second one reads
// plainly. The reader is under a deferral until it has cleared it.

namespace platform {

struct alignas(64) ReadAheadState {
    std::atomic<std::uint64_t> state{0};
    std::atomic<bool> isTaken{false};

    unsigned int lastSize = 0;  ///< The last part that was asked for,
    std::int64_t lastEnd = -1;  ///< and where it ended.
    unsigned int size = 0;      ///< How much was read ahead,
    unsigned int capacity = 0;  ///< how much should have been,
    std::int64_t start = 0;     ///< from where,
    std::uint64_t tag = 0;      ///< and in which state.
    char* bytes = nullptr;      ///< MOST_SIZE of them, from the first read ahead to the close.

    bool Read(void* buffer, unsigned int part, std::int64_t offset, int file);
    bool Fill(unsigned int part, std::int64_t offset, int file);
};

namespace {

constexpr std::size_t MOST_FILES = 1024;  // Descriptors above don't read ahead.

// What the first read takes at least, and each further one at most; in between it doubles, so that
// who reads two parts and jumps pays little.
constexpr unsigned int FIRST_SIZE = 2048;
constexpr unsigned int MOST_SIZE = 64 * 1024;

constexpr std::uint64_t IS_ALLOWED = 1;
constexpr std::uint64_t A_WRITER = 2;
constexpr std::uint64_t AN_EVENT = 1 << 16;

bool MayBeUsed(std::uint64_t state) { return (state & (AN_EVENT - 1)) == IS_ALLOWED; }

constinit std::array<ReadAheadState, MOST_FILES> descriptors;

ReadAheadState* Find(int file) {
    const auto index = static_cast<std::size_t>(file);  // too large for what is no descriptor
    return index < MOST_FILES ? &descriptors[index] : nullptr;
}

void Change(ReadAheadState& descriptor, bool isAllowed) {
    const std::uint64_t events = descriptor.state.load(std::memory_order_relaxed) / AN_EVENT + 1;
    descriptor.state.store(events * AN_EVENT | (isAllowed ? IS_ALLOWED : 0),
                           std::memory_order_release);
}

bool IsAllowed(const ReadAheadState& descriptor) {
    return (descriptor.state.load(std::memory_order_relaxed) & IS_ALLOWED) != 0;
}

void EndAll() {
    for (ReadAheadState& descriptor : descriptors) {
        if (IsAllowed(descriptor))
            Change(descriptor, false);
    }
}

/// Threads that were reading don't exist in the child.
void EndAllInChild() {
    EndAll();
    for (ReadAheadState& descriptor : descriptors) {
        if (descriptor.isTaken.load(std::memory_order_relaxed))
            descriptor.isTaken.store(false, std::memory_order_relaxed);
    }
}

// Before the fork, as the child may write at once, and after it for what was opened meanwhile.
const AtFork END_READ_AHEAD(ForkOrder::SUBSYSTEMS, &EndAll, &EndAll, &EndAllInChild);

}  // namespace

bool ReadAheadState::Read(void* buffer, unsigned int part, std::int64_t offset, int file) {
    const bool follows = offset == lastEnd && part == lastSize;
    const bool isRead = offset >= start && offset + part <= start + size;
    lastSize = part;
    lastEnd = offset + part;
    if (!isRead && (!follows || !Fill(part, offset, file))) {
        size = capacity = 0;
        return false;
    }
    std::memcpy(buffer, bytes + (offset - start), part);
    return true;
}

bool ReadAheadState::Fill(unsigned int part, std::int64_t offset, int file) {
    if (part > MOST_SIZE / 2)
        return false;
    if (bytes == nullptr)
        bytes = new (std::nothrow) char[MOST_SIZE];
    if (bytes == nullptr)
        return false;
    capacity = std::clamp(std::max(2 * capacity, 2 * part), FIRST_SIZE, MOST_SIZE);
    const ssize_t got = Uninterrupted([&] { return pread(file, bytes, capacity, offset); });
    start = offset;
    size = got > 0 ? static_cast<unsigned int>(got) : 0;
    return size >= part;
}

void BeginReadAhead(int file, bool isAllowed) {
    if (ReadAheadState* const descriptor = Find(file))
        Change(*descriptor, isAllowed);
}

void EndReadAhead(int file) {
    ReadAheadState* const descriptor = Find(file);
    if (descriptor == nullptr)
        return;
    const StopDeferral untilGivenBack;
    Change(*descriptor, false);
    if (descriptor->isTaken.exchange(true, std::memory_order_acquire))
        return;
    delete[] descriptor->bytes;
    descriptor->bytes = nullptr;
    descriptor->isTaken.store(false, std::memory_order_release);
}

bool ReadAhead(int file, void* buffer, unsigned int size, std::int64_t offset) {
    ReadAheadState* const descriptor = Find(file);
    if (descriptor == nullptr || size == 0)
        return false;
    const std::uint64_t state = descriptor->state.load(std::memory_order_acquire);
    if (!MayBeUsed(state))
        return false;
    const StopDeferral untilGivenBack;
    if (descriptor->isTaken.exchange(true, std::memory_order_acquire))
        return false;
    if (descriptor->tag != state) {
        descriptor->tag = state;
        descriptor->size = descriptor->capacity = 0;
        descriptor->lastEnd = -1;
    }
    const bool isRead = descriptor->Read(buffer, size, offset, file);
    descriptor->isTaken.store(false, std::memory_order_release);
    return isRead;
}

ScopedWrite::ScopedWrite(int file) : m_State(Find(file)) {
    if (m_State != nullptr && !IsAllowed(*m_State))
        m_State = nullptr;
    if (m_State != nullptr)
        m_State->state.fetch_add(A_WRITER, std::memory_order_acq_rel);
}

ScopedWrite::~ScopedWrite() {
    if (m_State != nullptr)
        m_State->state.fetch_add(AN_EVENT - A_WRITER, std::memory_order_acq_rel);
}

}  // namespace platform
