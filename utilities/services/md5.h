/// The MD5 message digest of RFC 1321, over data in one piece or in many.
#ifndef UTILITIES_SERVICES_MD5_H
#define UTILITIES_SERVICES_MD5_H

#include <cstdint>
#include <string>

#include "utilities/frame/export.h"

/// One digest. The object accumulates data until `finalize`; afterwards its digest can be read any
/// number of times. It can't be reset: a new digest takes a new object.
///
/// A call in the wrong state is reported on the standard error stream and has no other effect.
/// Lengths are in bytes, and a NUL is data. An input pointer may be null only if its length is 0.
/// Objects are independent of each other; only one thread at a time may use one. MD5 shows whether
/// data changed by accident; it doesn't protect against somebody who changes it on purpose.
class UTILITIES_EXPORT MD5 {
public:
    /// Starts accumulating, without data.
    MD5();

    /// Finalized at once: the digest of `length` bytes at `input`.
    MD5(const unsigned char* input, unsigned int length);
    MD5(const char* input, unsigned int length);

    /// A copy continues from the state of its source, independently.
    MD5(const MD5& other);
    MD5& operator=(const MD5& other);
    ~MD5();  // NOLINT(performance-trivially-destructible): a symbol of the library.

    /// Adds `length` bytes at `input` to the data. On a finalized object the call is reported and
    /// the data ignored.
    void update(const unsigned char* input, unsigned int length);
    void update(const char* input, unsigned int length);

    /// Ends the data and computes the digest. On a finalized object: no effect, no report.
    void finalize();

    /// Copies the 16 bytes of the digest to `output`. Before `finalize` the call is reported and
    /// nothing is written.
    void raw_digest(unsigned char* output);

    /// Returns the digest as 32 lower-case hexadecimal digits. Before `finalize` the call is
    /// reported and the text is empty.
    std::basic_string<char> hex_digest();

private:
    std::uint32_t state[4];
    std::uint32_t count[2];    ///< Input bits modulo 2^64, low word first.
    unsigned char buffer[64];  ///< The bytes of the block that is not yet complete.
    unsigned char digest[16];
    bool finalized;
};

#endif
