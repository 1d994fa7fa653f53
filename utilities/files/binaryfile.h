/// A file of one header and records of one size.
#ifndef UTILITIES_FILES_BINARYFILE_H
#define UTILITIES_FILES_BINARYFILE_H

#include <cstdint>
#include <memory>
#include <string>

#include "utilities/frame/export.h"
#include "utilities/platform/types.h"

/// Reads and writes whole records by their number, from 1, through one buffer for the header and
/// one for a record: a read fills a buffer, a write stores it, and between them the client works on
/// it.
///
/// The file is the header's bytes and then record behind record, with nothing else in it; what is
/// left over at the end is no record.
///
/// Opened with `BF_DENYNO` a file is shared, and writers keep out of each other's way by locks on
/// the header and on single records: with BF_UPDATE and BF_EXTEND, reading a record locks it until
/// it is written back, another record is read or written, or the file is closed; reading the header
/// locks it until it is written or the file is closed. A lock that another object or process holds
/// is waited for, up to 10 seconds. Locks bind those who take them: with the other modes a read
/// takes none and is not held up. They end with their holder, however that ends.
///
/// Results below 0 are codes:
///
///     -1   the system could not open, read or write
///     -2   openFile: the object is open already, or the name is empty
///     -3   the mode forbids the write, or there can't be a record of that number
///     -8   changeHeaderSize, changeRecordSize: the object is open, or the size is 0
///     -9   the lock on the header was not to be had
///     -10  the lock on the record was not to be had
///
/// One object must not be used by several threads at the same time. On a closed object all but the
/// sizes, `openFile` and `closeFile` fail as the system does, mostly with -1. Sizes are bytes;
/// records of 2 GiB and more can't be read or written.
class UTILITIES_EXPORT BinaryFile {
public:
    /// Any other value opens for reading as BF_READONLY does.
    enum E_BF_FILEMODE : int {
        BF_READONLY = 0,
        BF_UPDATE = 1,  ///< Records that are there can be rewritten.
        BF_EXTEND = 2,  ///< And records can be added.
        BF_APPEND = 3,  ///< Records can be added, by `writeCurrent`, and nothing else.
        BF_CREATE = 4   ///< The same, in a file that is made, or emptied first. It has no header,
                        ///< so the first record lands at its start.
    };

    /// What other openers, in any process, can't do meanwhile. An open that doesn't go together
    /// with those before it fails. Only openers that use this library know of each other.
    enum E_BF_SHAREMODE : int {
        BF_DENYRW = 0x10,
        BF_DENYWR = 0x20,
        BF_DENYRD = 0x30,
        BF_DENYNO = 0x40  ///< Nothing is denied, and locks are taken.
    };

    /// Any other value reads the last record.
    enum E_BF_READMODE : int {
        BF_READ_FIRST = 0,
        BF_READ_NEXT = 1,
        BF_READ_PREVIOUS = 2,
        BF_READ_LAST = 3
    };

    /// A closed object with zeroed buffers. With a `recordSize` of 0 there are no records.
    BinaryFile(unsigned int recordSize, unsigned int headerSize);
    BinaryFile(const BinaryFile&) = delete;
    BinaryFile& operator=(const BinaryFile&) = delete;

    /// As `closeFile`.
    ~BinaryFile();

    /// Opens the file, with a header of `headerSize` bytes from now on; its buffer is a new one,
    /// zeroed. 0, -1 or -2; then nothing has changed.
    int openFile(const std::string& name, E_BF_FILEMODE mode, E_BF_SHAREMODE share,
                 unsigned int headerSize);

    /// Gives up all locks. 0, also for an object that is closed already, or -1.
    int closeFile();

    /// Gives the bytes read (fewer where the file ends before), -1 or -9.
    int readHeader();

    /// Writes the header's buffer and gives up its lock. Gives the bytes written, -1, -3 (all modes
    /// but BF_UPDATE and BF_EXTEND) or -9.
    int writeHeader();

    /// Reads record `record`. Gives the bytes read, 0 where there is no such record, -1 or -10.
    /// That record is the current one then, also behind -1 and -10, not behind 0. In a shared file
    /// records that others have added are seen.
    int readFile(unsigned int record);

    /// The same for the record that `mode` names from the current one or the ends, 0 where there is
    /// none.
    int readFile(E_BF_READMODE mode);

    /// Writes the record's buffer as record `record`, which is the current one then, and gives up
    /// its lock. Gives the bytes written, -1, -3 or -10. With BF_EXTEND a number behind the last
    /// record adds one, whatever the number; in a shared file none that another one has added is
    /// overwritten by that. The other modes but BF_UPDATE refuse, as does the number 0.
    int writeFile(unsigned int record);

    /// Writes the current record again, or with BF_APPEND and BF_CREATE adds one, which is the
    /// current one then. Gives the bytes written, -1, -3 or -10.
    int writeCurrent();

    /// Replaces a buffer by a zeroed one of another size. 0 or -8.
    int changeHeaderSize(unsigned int size);
    int changeRecordSize(unsigned int size);

    bool isOpen() const;

    /// The record that this object holds locked, 0 for none.
    unsigned int getLockedRecord() const;

    /// The buffers, good until the size changes or, for the header's, the next `openFile`. They
    /// have two bytes more than their size.
    unsigned char* getHeaderBuffer() { return headerBuffer.get(); }
    unsigned char* getRecordBuffer() { return recordBuffer.get(); }
    unsigned int getHeaderSize() const { return headerSize; }
    unsigned int getRecordSize() const { return recordSize; }

    /// Whole records in the file, as this object knows it.
    unsigned int getRecordCount() const { return recordCount; }

    /// The record that was last read or written, 0 for none since the file was opened.
    unsigned int getCurrentRecord() const { return currentRecord; }

private:
    using Buffer = std::unique_ptr<unsigned char[]>;

    UTILITIES_LOCAL static Buffer MakeBuffer(unsigned int size);
    UTILITIES_LOCAL bool isShared() const;
    UTILITIES_LOCAL bool isForUpdate() const;
    UTILITIES_LOCAL __int64 getOffset(unsigned int record) const;
    UTILITIES_LOCAL int lockRecord(unsigned int record);
    UTILITIES_LOCAL void unlockRecord();
    UTILITIES_LOCAL int lockHeader();
    UTILITIES_LOCAL void unlockHeader();
    UTILITIES_LOCAL int lockNewRecord(unsigned int& record);
    UTILITIES_LOCAL unsigned int updateRecordCount();
    UTILITIES_LOCAL int appendRecord();

    std::uint32_t headerSize;
    std::uint32_t lockedRecord = 0;
    std::uint32_t currentRecord = 0;
    std::uint32_t recordCount = 0;
    std::uint32_t recordSize;
    int fileHandle = -1;
    Buffer headerBuffer;
    Buffer recordBuffer;
    bool headerLocked = false;
    E_BF_FILEMODE fileMode = BF_READONLY;
    E_BF_SHAREMODE shareMode = BF_DENYWR;
    std::string fileName;
};

#endif
