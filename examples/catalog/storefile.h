/// The file of a store: a header and blocks, all of one size, which carry one stream of bytes.
#ifndef CATALOG_STOREFILE_H
#define CATALOG_STOREFILE_H

#include <stdexcept>
#include <string>

#include "utilities/utilities.h"

/// Why a store can't be used; `what` is the reason, without the file's name.
class StoreError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

inline constexpr unsigned int BLOCK_SIZE = 4096;

/// What a store holds: the stream, and the number of trees and entries in it.
struct StoreContent {
    std::string header;  ///< The first block; differs from that of any other store.
    std::string stream;
    unsigned __int64 entries = 0;
};

/// Reads a whole store. Whatever isn't just as it was written is thrown as `StoreError`.
StoreContent ReadStoreFile(const String& path);

/// Writes a new store to a file that doesn't exist, or is overwritten, and has it stored on the
/// disk. The file is only for its owner. Returns the header.
std::string WriteStoreFile(const String& path, const std::string& stream, unsigned __int64 entries);

/// The path of a temporary file in the directory of `path`, which it is going to replace. It has
/// the process's number in it, as two processes can receive the same unique identifier at the same
/// moment.
String TemporaryPathFor(const String& path);

/// Removes a file at the end of the scope if it is there.
class ScopedTemporary {
public:
    explicit ScopedTemporary(const String& path) : m_Path(path) {}
    ~ScopedTemporary();
    ScopedTemporary(const ScopedTemporary&) = delete;
    ScopedTemporary& operator=(const ScopedTemporary&) = delete;

    const String& Path() const { return m_Path; }

private:
    const String m_Path;
};

/// Holds the lock of the store that `path` names, in its scope. All who replace a store hold it;
/// `header` is that of the store which is locked. Throws `StoreError` if the lock can't be had or
/// there is no store.
class ScopedStoreLock {
public:
    explicit ScopedStoreLock(const String& path);
    ScopedStoreLock(const ScopedStoreLock&) = delete;
    ScopedStoreLock& operator=(const ScopedStoreLock&) = delete;

    const std::string& Header() const { return m_Header; }

private:
    BinaryFile m_File{0, BLOCK_SIZE};
    std::string m_Header;
};

#endif
