/// The MD5 message digest of RFC 1321, over data in one piece or in many.
#ifndef UTILITIES_SERVICES_MD5_H
#define UTILITIES_SERVICES_MD5_H

#include <cstdint>
#include <string>

#include "utilities/frame/export.h"

/// An object accumulates data until it is finalized; then its digest can be read any number of
/// times, and there is no way back: a new digest takes a new object.
///
/// A call in the wrong state is reported on the standard error stream and has no other effect.
/// Lengths count bytes, and a NUL is data. An input pointer may be null only where its length is 0.
/// No lock is taken and nothing is shared between objects; one object must not be used by two
/// threads at a time. MD5 tells whether data changed by accident; it is no protection against
/// somebody who changes it on purpose.
class UTILITIES_EXPORT MD5 {
public:
    /// Accumulating, nothing taken in yet.
    MD5();

    /// Finalized: the digest of `length` bytes at `input`.
    MD5(const unsigned char* input, unsigned int length);
    MD5(const char* input, unsigned int length);

    /// Copies continue on their own from the state of the source.
    MD5(const MD5& other);
    MD5& operator=(const MD5& other);
    ~MD5();  // NOLINT(performance-trivially-destructible): a symbol of the library.

    /// Takes in `length` bytes at `input`. On a finalized object: reported, the data is ignored.
    void update(const unsigned char* input, unsigned int length);
    void update(const char* input, unsigned int length);

    /// Ends the input and computes the digest. On a finalized object: no effect, no report.
    void finalize();

    /// Copies the 16 bytes of the digest to `output`. Before `finalize`: reported, nothing written.
    void raw_digest(unsigned char* output);

    /// The digest as 32 lower-case hexadecimal digits. Before `finalize`: reported, empty.
    std::basic_string<char> hex_digest();

private:
    std::uint32_t state[4];
    std::uint32_t count[2];    ///< Input bits modulo 2^64, low word first.
    unsigned char buffer[64];  ///< The bytes of the block that is not complete yet.
    unsigned char digest[16];
    bool finalized;
};

#endif
