#include "utilities/files/binaryfile.h"

#include <algorithm>
#include <utility>

#include "utilities/platform/descriptors.h"
#include "utilities/platform/threads.h"

namespace {

enum Result {
    RESULT_DONE = 0,
    RESULT_SYSTEM = -1,
    RESULT_NOT_TO_OPEN = -2,
    RESULT_REFUSED = -3,
    RESULT_NOT_TO_CHANGE = -8,
    RESULT_HEADER_LOCKED = -9,
    RESULT_RECORD_LOCKED = -10
};

constexpr int MODE_FLAGS[] = {
    platform::_O_RDONLY,
    platform::_O_RDWR,
    platform::_O_RDWR,
    platform::_O_RDWR | platform::_O_APPEND,
    platform::_O_RDWR | platform::_O_APPEND | platform::_O_CREAT | platform::_O_TRUNC,
};

// What the length of no file reads as.
constexpr std::int64_t NO_LENGTH = 0xFFFFFFFF;

}  // namespace

BinaryFile::Buffer BinaryFile::MakeBuffer(unsigned int size) {
    Buffer buffer(new unsigned char[std::size_t{size} + 2]);
    std::fill_n(buffer.get(), size, static_cast<unsigned char>(0));
    return buffer;
}

BinaryFile::BinaryFile(unsigned int sizeOfRecord, unsigned int sizeOfHeader)
    : headerSize(sizeOfHeader),
      recordSize(sizeOfRecord),
      headerBuffer(MakeBuffer(sizeOfHeader)),
      recordBuffer(MakeBuffer(sizeOfRecord)) {}

BinaryFile::~BinaryFile() { closeFile(); }

bool BinaryFile::isShared() const { return shareMode == BF_DENYNO; }

bool BinaryFile::isForUpdate() const { return fileMode == BF_UPDATE || fileMode == BF_EXTEND; }

__int64 BinaryFile::getOffset(unsigned int record) const {
    return headerSize + (static_cast<__int64>(record) - 1) * recordSize;
}

unsigned int BinaryFile::updateRecordCount() {
    const std::int64_t length = platform::GetLength(fileHandle);
    const std::int64_t known = length >= 0 ? length : NO_LENGTH;
    if (known >= headerSize)
        recordCount =
            recordSize != 0 ? static_cast<std::uint32_t>((known - headerSize) / recordSize) : 0;
    return recordCount;
}

int BinaryFile::lockRecord(unsigned int record) {
    if (!isShared())
        return RESULT_DONE;
    unlockRecord();
    lockedRecord = record;
    const int result =
        platform::_locking(fileHandle, platform::_LK_LOCK, recordSize, getOffset(record));
    if (result != 0)
        lockedRecord = 0;
    return result;
}

void BinaryFile::unlockRecord() {
    if (!isShared() || lockedRecord == 0)
        return;
    platform::_locking(fileHandle, platform::_LK_UNLCK, recordSize, getOffset(lockedRecord));
    lockedRecord = 0;
}

int BinaryFile::lockHeader() {
    if (!isShared() || headerLocked)
        return RESULT_DONE;
    const int result = platform::_locking(fileHandle, platform::_LK_LOCK, headerSize, 0);
    headerLocked = result == 0;
    return result;
}

void BinaryFile::unlockHeader() {
    if (!isShared() || !headerLocked)
        return;
    platform::_locking(fileHandle, platform::_LK_UNLCK, headerSize, 0);
    headerLocked = false;
}

int BinaryFile::openFile(const std::string& name, E_BF_FILEMODE mode, E_BF_SHAREMODE share,
                         unsigned int sizeOfHeader) {
    if (isOpen() || name.empty())
        return RESULT_NOT_TO_OPEN;
    // What needs memory comes before what changes the object.
    Buffer buffer = MakeBuffer(sizeOfHeader);
    std::string newName(name);
    const int flags = mode >= BF_READONLY && mode <= BF_CREATE ? MODE_FLAGS[mode] : 0;
    {
        const platform::HoldOff untilStored;
        const int file = platform::_sopen(name.c_str(), flags | platform::_O_BINARY, share,
                                          platform::_S_IREAD | platform::_S_IWRITE);
        if (file < 0)
            return RESULT_SYSTEM;
        fileHandle = file;
    }
    fileMode = mode;
    shareMode = share;
    fileName.swap(newName);
    lockedRecord = 0;
    currentRecord = 0;
    headerLocked = false;
    headerBuffer = std::move(buffer);
    headerSize = sizeOfHeader;
    updateRecordCount();
    return RESULT_DONE;
}

int BinaryFile::closeFile() {
    if (!isOpen())
        return RESULT_DONE;
    unlockRecord();
    const platform::HoldOff untilForgotten;
    const int result = platform::_close(fileHandle);
    if (result == 0) {
        fileHandle = -1;
        headerLocked = false;
    }
    return result;
}

int BinaryFile::readHeader() {
    if (isForUpdate() && lockHeader() != 0)
        return RESULT_HEADER_LOCKED;
    return platform::ReadAt(fileHandle, headerBuffer.get(), headerSize, 0);
}

int BinaryFile::writeHeader() {
    if (!isForUpdate())
        return RESULT_REFUSED;
    if (lockHeader() != 0)
        return RESULT_HEADER_LOCKED;
    const int written = platform::WriteAt(fileHandle, headerBuffer.get(), headerSize, 0);
    unlockHeader();
    return written;
}

int BinaryFile::readFile(unsigned int record) {
    if (record > recordCount && isShared())
        updateRecordCount();
    if (record == 0 || record > recordCount)
        return 0;
    currentRecord = record;
    if (isForUpdate() && lockRecord(record) != 0)
        return RESULT_RECORD_LOCKED;
    return platform::ReadAt(fileHandle, recordBuffer.get(), recordSize, getOffset(record));
}

int BinaryFile::readFile(E_BF_READMODE mode) {
    switch (mode) {
        case BF_READ_FIRST:
            return readFile(1u);
        case BF_READ_NEXT:
            return readFile(currentRecord + 1);
        case BF_READ_PREVIOUS:
            return readFile(currentRecord - 1);
        default:
            return readFile(recordCount);
    }
}

// Others add records as well. Only under the lock of the place behind the last one it is certain
// that nobody else is about to use it, and only a count under that lock tells which place that is.
int BinaryFile::lockNewRecord(unsigned int& record) {
    record = updateRecordCount() + 1;
    while (record != lockedRecord && isShared()) {
        if (lockRecord(record) != 0)
            return RESULT_RECORD_LOCKED;
        if (updateRecordCount() < record)
            break;
        unlockRecord();
        record = recordCount + 1;
    }
    return RESULT_DONE;
}

int BinaryFile::writeFile(unsigned int record) {
    if (!isForUpdate() || record == 0)
        return RESULT_REFUSED;
    const bool isNew = record > recordCount;
    if (isNew && fileMode == BF_UPDATE)
        return RESULT_REFUSED;
    if (isNew && lockNewRecord(record) != 0)
        return RESULT_RECORD_LOCKED;
    if (record != lockedRecord && lockRecord(record) != 0)
        return RESULT_RECORD_LOCKED;
    const int written =
        platform::WriteAt(fileHandle, recordBuffer.get(), recordSize, getOffset(record));
    if (written > 0 && record > recordCount)
        ++recordCount;
    unlockRecord();
    currentRecord = record;
    return written;
}

int BinaryFile::writeCurrent() {
    switch (fileMode) {
        case BF_UPDATE:
        case BF_EXTEND:
            return writeFile(currentRecord);
        case BF_APPEND:
        case BF_CREATE:
            return appendRecord();
        default:
            return RESULT_REFUSED;
    }
}

int BinaryFile::appendRecord() {
    const int written =
        platform::WriteAt(fileHandle, recordBuffer.get(), recordSize, platform::AT_END);
    if (written == RESULT_SYSTEM)
        return RESULT_SYSTEM;
    if (isShared())
        updateRecordCount();
    else if (written > 0)
        ++recordCount;
    currentRecord = recordCount;
    return written;
}

int BinaryFile::changeHeaderSize(unsigned int size) {
    if (isOpen() || size == 0)
        return RESULT_NOT_TO_CHANGE;
    headerBuffer = MakeBuffer(size);
    headerSize = size;
    return RESULT_DONE;
}

int BinaryFile::changeRecordSize(unsigned int size) {
    if (isOpen() || size == 0)
        return RESULT_NOT_TO_CHANGE;
    recordBuffer = MakeBuffer(size);
    recordSize = size;
    return RESULT_DONE;
}

bool BinaryFile::isOpen() const { return fileHandle >= 0; }

unsigned int BinaryFile::getLockedRecord() const { return lockedRecord; }
