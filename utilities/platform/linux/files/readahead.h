/// Reading a file's bytes before they are asked for, where nobody can tell.
///
/// Whoever reads a file in order, part by part, is served from memory: a part that begins where the
/// last one of its size has ended is read together with what follows it. That is right only as long
/// as the bytes stay what they are. So a file reads ahead only if its opener keeps out all writers,
/// and what was read is dropped when the opener itself writes. A fork ends it for all files that
/// are open then: parent and child have the same open file, and neither sees what the other writes.
#ifndef UTILITIES_PLATFORM_LINUX_FILES_READAHEAD_H
#define UTILITIES_PLATFORM_LINUX_FILES_READAHEAD_H

#include <cstdint>

namespace platform {

/// For a file that has just been opened: whether it may read ahead from now on. Any other use of
/// the descriptor's number is forgotten.
void BeginReadAhead(int file, bool isAllowed);

/// Before a file is closed.
void EndReadAhead(int file);

/// Reads `size` bytes from `offset` on, out of memory or together with what follows. False, with
/// nothing read, leaves it to a plain read: always for a file that must not read ahead, for the
/// first of several parts, at the file's end, when another thread reads the file, and after
/// failures.
bool ReadAhead(int file, void* buffer, unsigned int size, std::int64_t offset);

struct ReadAheadState;

/// Lives as long as the calling thread writes to the file: nothing is read ahead meanwhile, and
/// what was read before is dropped. A thread that is stopped in between leaves the file without
/// reading ahead until it is closed.
class ScopedWrite {
public:
    explicit ScopedWrite(int file);
    ~ScopedWrite();
    ScopedWrite(const ScopedWrite&) = delete;
    ScopedWrite& operator=(const ScopedWrite&) = delete;

private:
    ReadAheadState* m_State;  // Null without effect.
};

}  // namespace platform

#endif
