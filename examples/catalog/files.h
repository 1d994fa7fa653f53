/// Files as the catalogue sees them: below one directory, symbolic links never followed.
#ifndef CATALOG_FILES_H
#define CATALOG_FILES_H

#include <string>
#include <utility>

#include "entry.h"
#include "utilities/utilities.h"

/// Owns an open file or directory, which its destructor closes.
class Descriptor {
public:
    explicit Descriptor(int openNumber) : m_Number(openNumber) {}
    Descriptor(Descriptor&& other) noexcept : m_Number(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_Number, other.m_Number);
        return *this;
    }
    ~Descriptor();

    bool IsOpen() const { return m_Number >= 0; }
    int Number() const { return m_Number; }

    /// Returns the descriptor, which the caller must close from now on.
    int Release() { return std::exchange(m_Number, -1); }

private:
    int m_Number;
};

/// Opens `path` below the directory `root`; the empty path names `root` itself. The path may be
/// longer than a system call takes. If the result isn't open, `errno` tells why.
Descriptor OpenBelow(const Descriptor& root, const std::string& path, int flags);

/// Asks the system for the status of anything below `root`, and for the target of a link. Returns
/// the empty text on success, otherwise the reason of the failure.
String ReadStatus(const Descriptor& root, Entry& entry);

/// Reads a regular file to its end, for its digests, and its status. Returns the reason of a
/// failure likewise. A file that was changed or removed meanwhile counts as failed. Throws
/// `Interrupted` after an interrupt.
String ReadContent(const Descriptor& root, bool withSha256, Entry& entry);

#endif
