#include "utilities/files/binaryfile.h"

#include <algorithm>
#include <utility>

#include "utilities/frame/errno_internal.h"
#include "utilities/platform/descriptors.h"
#include "utilities/platform/filelocks.h"
#include "utilities/platform/stopdeferral.h"

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

int Refuse(Result result, int reason) {
    errno = reason;
    return result;
}

// By the number of the mode.
constexpr int MODE_FLAGS[] = {
    platform::_O_RDONLY,
    platform::_O_RDWR,
    platform::_O_RDWR,
    platform::_O_RDWR | platform::_O_APPEND,
    platform::_O_RDWR | platform::_O_APPEND | platform::_O_CREAT | platform::_O_TRUNC,
};

// The length that a file without one, a closed one, counts as: -1 in the width of a record count.
constexpr std::int64_t NO_LENGTH = 0xFFFFFFFF;

// Records beyond it have no number, so the count stops here, and so do additions.
constexpr std::uint32_t MOST_RECORDS = 0xFFFFFFFF;

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

BinaryFile::~BinaryFile() {
    if (closeFile() != 0)
        platform::CloseUnchecked(fileHandle);
}

bool BinaryFile::IsShared() const { return shareMode == BF_DENYNO; }

bool BinaryFile::IsForUpdate() const { return fileMode == BF_UPDATE || fileMode == BF_EXTEND; }

// Only a closed object can have numbers and sizes for which this wraps.
__int64 BinaryFile::OffsetOf(unsigned int record) const {
    return static_cast<__int64>(headerSize + (std::uint64_t{record} - 1) * recordSize);
}

unsigned int BinaryFile::updateRecordCount() {
    const std::int64_t length = platform::GetLength(fileHandle);
    const std::int64_t known = length >= 0 ? length : NO_LENGTH;
    if (known >= headerSize)
        recordCount = recordSize != 0 ? static_cast<std::uint32_t>(std::min<std::int64_t>(
                                            (known - headerSize) / recordSize, MOST_RECORDS))
                                      : 0;
    return recordCount;
}

// The number is stored first: a thread that is stopped in between leaves no lock that the object
// doesn't know.
int BinaryFile::lockRecord(unsigned int record, bool mayWait) {
    if (!IsShared())
        return RESULT_DONE;
    unlockRecord();
    lockedRecord = record;
    const int mode = mayWait ? platform::_LK_LOCK : platform::_LK_NBLCK;
    const int result = platform::_locking(fileHandle, mode, recordSize, OffsetOf(record));
    if (result != 0)
        lockedRecord = 0;
    return result;
}

void BinaryFile::unlockRecord() {
    if (!IsShared() || lockedRecord == 0)
        return;
    const ScopedErrno untilUnlocked;
    platform::_locking(fileHandle, platform::_LK_UNLCK, recordSize, OffsetOf(lockedRecord));
    lockedRecord = 0;
}

int BinaryFile::lockHeader() {
    if (!IsShared() || headerLocked)
        return RESULT_DONE;
    const int result = platform::_locking(fileHandle, platform::_LK_LOCK, headerSize, 0);
    headerLocked = result == 0;
    return result;
}

void BinaryFile::unlockHeader() {
    if (!IsShared() || !headerLocked)
        return;
    const ScopedErrno untilUnlocked;
    platform::_locking(fileHandle, platform::_LK_UNLCK, headerSize, 0);
    headerLocked = false;
}

int BinaryFile::openFile(const std::string& name, E_BF_FILEMODE mode, E_BF_SHAREMODE share,
                         unsigned int sizeOfHeader) {
    if (isOpen() || name.empty())
        return Refuse(RESULT_NOT_TO_OPEN, isOpen() ? EBUSY : ENOENT);
    // All that needs memory comes before all that changes the object.
    Buffer buffer = MakeBuffer(sizeOfHeader);
    std::string newName(name);
    const int flags = mode >= BF_READONLY && mode <= BF_CREATE ? MODE_FLAGS[mode] : 0;
    {
        const platform::StopDeferral untilStored;
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
    const platform::StopDeferral untilForgotten;
    const int result = platform::_close(fileHandle);
    if (result == 0) {
        fileHandle = -1;
        headerLocked = false;
    }
    return result;
}

int BinaryFile::readHeader() {
    if (IsForUpdate() && lockHeader() != 0)
        return RESULT_HEADER_LOCKED;
    return platform::ReadAt(fileHandle, headerBuffer.get(), headerSize, 0);
}

int BinaryFile::writeHeader() {
    if (!IsForUpdate())
        return Refuse(RESULT_REFUSED, EBADF);
    if (lockHeader() != 0)
        return RESULT_HEADER_LOCKED;
    const int written = platform::WriteAt(fileHandle, headerBuffer.get(), headerSize, 0);
    unlockHeader();
    return written;
}

int BinaryFile::readFile(unsigned int record) {
    if (record > recordCount && IsShared())
        updateRecordCount();
    if (record == 0 || record > recordCount)
        return 0;
    currentRecord = record;
    if (IsForUpdate() && lockRecord(record) != 0)
        return RESULT_RECORD_LOCKED;
    return platform::ReadAt(fileHandle, recordBuffer.get(), recordSize, OffsetOf(record));
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

int BinaryFile::writeFile(unsigned int record) {
    if (!IsForUpdate())
        return Refuse(RESULT_REFUSED, EBADF);
    if (record == 0 || (record > recordCount && fileMode == BF_UPDATE))
        return Refuse(RESULT_REFUSED, EINVAL);
    if (record > recordCount)
        return AddRecord();
    if (record != lockedRecord && lockRecord(record) != 0)
        return RESULT_RECORD_LOCKED;
    const int written =
        platform::WriteAt(fileHandle, recordBuffer.get(), recordSize, OffsetOf(record));
    unlockRecord();
    currentRecord = record;
    return written;
}

// Others add records as well: only under the lock of the file's end the count tells which record is
// the next. Its own lock, if another one has it, is waited for without the end, so that adders by
// other modes go on, and then the next record may be another one.
int BinaryFile::AddRecord() {
    for (;;) {
        unsigned int record = 0;
        {
            const platform::ScopedFileEnd end(fileHandle, IsShared());
            if (!end.MayMove())
                return RESULT_RECORD_LOCKED;
            if (updateRecordCount() == MOST_RECORDS)
                return Refuse(RESULT_REFUSED, EFBIG);
            record = recordCount + 1;
            if (record == lockedRecord || lockRecord(record, false) == 0)
                return WriteNewRecord(record);
        }
        if (lockRecord(record) != 0)
            return RESULT_RECORD_LOCKED;
    }
}

int BinaryFile::WriteNewRecord(unsigned int record) {
    const int written =
        platform::AppendAt(fileHandle, recordBuffer.get(), recordSize, OffsetOf(record));
    if (written > 0)
        recordCount = record;
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
            return AppendRecord();
        default:
            return Refuse(RESULT_REFUSED, EBADF);
    }
}

int BinaryFile::AppendRecord() {
    const platform::ScopedFileEnd end(fileHandle, IsShared());
    if (!end.MayMove())
        return RESULT_SYSTEM;
    const std::uint32_t known = recordCount;
    if (isOpen() && IsShared())
        updateRecordCount();
    if (recordCount == MOST_RECORDS)
        return Refuse(RESULT_REFUSED, EFBIG);
    const int written =
        platform::AppendAt(fileHandle, recordBuffer.get(), recordSize, platform::AT_END);
    if (written == RESULT_SYSTEM) {
        recordCount = known;
        return RESULT_SYSTEM;
    }
    if (IsShared())
        updateRecordCount();
    else if (written > 0)
        ++recordCount;
    currentRecord = recordCount;
    return written;
}

int BinaryFile::changeHeaderSize(unsigned int size) {
    if (isOpen() || size == 0)
        return Refuse(RESULT_NOT_TO_CHANGE, isOpen() ? EBUSY : EINVAL);
    headerBuffer = MakeBuffer(size);
    headerSize = size;
    return RESULT_DONE;
}

int BinaryFile::changeRecordSize(unsigned int size) {
    if (isOpen() || size == 0)
        return Refuse(RESULT_NOT_TO_CHANGE, isOpen() ? EBUSY : EINVAL);
    recordBuffer = MakeBuffer(size);
    recordSize = size;
    return RESULT_DONE;
}

bool BinaryFile::isOpen() const { return fileHandle >= 0; }

unsigned int BinaryFile::getLockedRecord() const { return lockedRecord; }
