/// The file of a store: how it is made, recognised and locked, and what results of its operations
/// mean.
#ifndef CATALOG_STOREFILE_H
#define CATALOG_STOREFILE_H

#include <stdexcept>

#include "interrupt.h"
#include "utilities/utilities.h"

/// Why a store can't be used; `what` is the reason, without the file's name.
class StoreError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The path of a temporary file in the directory of `path`, which it is going to replace. It has
/// the process's number in it, as two processes can receive the same unique identifier at the same
/// moment.
String TemporaryPathFor(const String& path);

/// Throws `StoreError` unless `result`, of an operation on a `BinaryFile`, is `expected`.
void CheckResult(int result, unsigned int expected);

/// Repeats an operation on a `BinaryFile` while another process holds the lock that it needs: up to
/// 6 tries, which wait up to 10 seconds each. Returns the last result. Throws `Interrupted` between
/// tries after an interrupt.
template <class Operation>
int RetryWhileLocked(Operation operation) {
    constexpr int HEADER_LOCKED = -9, RECORD_LOCKED = -10;
    int result = HEADER_LOCKED;
    for (int attempt = 0; attempt < 6 && (result == HEADER_LOCKED || result == RECORD_LOCKED);
         ++attempt) {
        if (attempt > 0)
            StopIfInterrupted();
        result = operation();
    }
    return result;
}

/// Opens an existing store, for reading or to add and change records. A file that is not a sound
/// store is thrown as `StoreError` and left as it is.
void OpenStore(BinaryFile& file, const String& path, bool toChange);

/// Makes an empty store unless the file exists.
void EnsureStore(const String& path);

/// Holds the store's lock in its scope: no other process adds records meanwhile. Whoever adds
/// records must hold it.
class ScopedStoreLock {
public:
    explicit ScopedStoreLock(BinaryFile& file);
    ~ScopedStoreLock();
    ScopedStoreLock(const ScopedStoreLock&) = delete;
    ScopedStoreLock& operator=(const ScopedStoreLock&) = delete;

private:
    BinaryFile& m_File;
};

#endif
