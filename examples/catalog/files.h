/// Files as the catalogue sees them: below one directory, symbolic links never followed.
#ifndef CATALOG_FILES_H
#define CATALOG_FILES_H

#include <string>
#include <utility>

#include "utilities/utilities.h"

/// An open file or directory, closed with the object.
class Descriptor {
public:
    explicit Descriptor(int openNumber) : number(openNumber) {}
    Descriptor(Descriptor&& other) noexcept : number(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number, other.number);
        return *this;
    }
    ~Descriptor();

    bool IsOpen() const { return number >= 0; }
    int Number() const { return number; }

    /// Leaves the closing to the caller.
    int Release() { return std::exchange(number, -1); }

private:
    int number;
};

/// Opens what `path` names below the directory `root`, the empty path naming `root` itself. It may
/// be longer than the system takes in one call. Where the result isn't open, `errno` tells why.
Descriptor OpenBelow(const Descriptor& root, const std::string& path, int flags);

/// What the system tells of a file.
struct Look {
    unsigned __int64 size = 0;
    __int64 modified = 0;  ///< Nanoseconds since 1970.
};

/// What was read from a file.
struct Contents {
    Look look;
    String digest;
};

/// False where the file can't be looked at.
bool LookAt(const Descriptor& root, const std::string& path, Look& look);

/// Reads a regular file to its end. Returns the reason why that failed, empty on success. A file
/// that changed or was removed meanwhile counts as failed. Stops at an interrupt.
String ReadContents(const Descriptor& root, const std::string& path, Contents& contents);

#endif
