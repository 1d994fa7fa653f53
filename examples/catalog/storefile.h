/// The file of a store: what makes it one, and what its operations' results mean.
#ifndef CATALOG_STOREFILE_H
#define CATALOG_STOREFILE_H

#include <stdexcept>

#include "interrupt.h"
#include "utilities/utilities.h"

/// Why a store can't be used; `what` is the reason, without the file's name.
class StoreError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A name beside `path` for what is to take its place. An identifier alone would not do: two
/// processes can receive the same at the same moment.
String DraftOf(const String& path);

/// Throws unless `result`, of an operation on a `BinaryFile`, is `expected`.
void CheckResult(int result, unsigned int expected);

/// Repeats an operation on a `BinaryFile` while another process has its lock, which a single try
/// waits for up to 10 seconds for. Gives its result.
template <class Operation>
int Persist(Operation operation) {
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

/// Opens a store that is there, for reading or to add and change records. Nothing of the file is
/// changed.
void OpenStore(BinaryFile& file, const String& path, bool toChange);

/// Makes an empty store, unless there is a file.
void AssureStore(const String& path);

/// While one lives no other process adds records: round all that does.
class StoreLock {
public:
    explicit StoreLock(BinaryFile& file);
    ~StoreLock();
    StoreLock(const StoreLock&) = delete;
    StoreLock& operator=(const StoreLock&) = delete;

private:
    BinaryFile& file;
};

#endif
