/// A file of one header and records of one size.
#ifndef UTILITIES_FILES_BINARYFILE_H
#define UTILITIES_FILES_BINARYFILE_H

#include <cstdint>
#include <memory>
#include <string>

#include "utilities/frame/export.h"
#include "utilities/frame/types.h"

/// Reads and writes whole records by their number, which counts from 1. The object has one buffer
/// for the header and one for a record: a read fills a buffer, the client changes it, a write
/// stores it.
///
/// The file consists of the header's bytes and the records one after another, nothing else. Bytes
/// at the end that don't fill a record are ignored, and the next record that is added replaces
/// them (with BF_APPEND it comes after them, so don't append to such a file). Sizes are in bytes;
/// records of 2 GiB and more can't be read or written. Records beyond number 4,294,967,295 can't be
/// reached, and none is added beyond it.
///
/// **Locks.** A file opened with `BF_DENYNO` is shared: several objects and processes may write to
/// it, and they lock the header and single records.
/// - With BF_UPDATE and BF_EXTEND, reading a record locks it until it is written, another record is
///   read or written, or the file is closed; reading the header locks it until it is written or the
///   file is closed. With the other modes a read takes no lock, and doesn't wait for one.
/// - A lock that another object or process has is waited for, up to 10 seconds. Waiters have turns,
///   so an object that takes a lock again and again doesn't keep the others from it.
/// - Records are added one at a time, whoever adds them in whatever mode.
/// - Locks and share modes bind only openers that use this library, and hold on one system: not
///   every network file system passes them on. On a file system without locks all share modes
///   succeed and deny nothing, records can be appended, and an operation that needs a lock on the
///   header or a record returns -9 or -10.
/// - They end when the file is closed, and when the process ends, however that happens.
/// - With BF_DENYWR and BF_DENYRW, records that are read in order are read ahead, up to 64 KiB, as
///   nobody else may write them. What a program writes that knows of no share modes can show late.
///   Writes are never held back.
///
/// **Results** below 0 are codes, and `errno` holds the reason:
///
///     -1   the system could not open, read, write or close: its reason. EINVAL for more than 2 GiB
///     -2   openFile: the object is open already (EBUSY), or the name is empty (ENOENT)
///     -3   the mode forbids the write (EBADF), or there can't be a record of that number (EINVAL;
///          EFBIG beyond the last number)
///     -8   changeHeaderSize, changeRecordSize: the object is open (EBUSY), or the size is 0
///          (EINVAL)
///     -9   another one had the lock on the header for 10 seconds (EAGAIN), or it can't be taken
///          (the system's reason)
///     -10  the same for the lock on a record, or on the file's end
///
/// On a closed object all but the sizes, `openFile` and `closeFile` fail as the system does, mostly
/// with -1 (`errno` EBADF).
///
/// **Failures and losses.** A write that fails leaves other records as they were, and a record that
/// could not be added leaves nothing behind. Nothing is forced to the disk: what was written
/// outlives the process, but a failure of power or system can lose any of it. A process that is
/// killed inside a write, and a system failure, can leave a long record written in part.
///
/// **Threads and forks.** One object must not be used by several threads at the same time;
/// different objects may, also on one file. After a fork the child's copy of an open object can
/// read and be closed. The locks and the denial belong to the process that opened the file: they
/// stay when a child closes its copy, they end for both when their owner closes or ends, and as
/// long as it lives a child waits for every lock in vain. A child that works on opens the file
/// itself.
class UTILITIES_EXPORT BinaryFile {
public:
    /// Any other value opens as BF_READONLY does.
    enum E_BF_FILEMODE : int {
        BF_READONLY = 0,  ///< Needs no right to write to the file.
        BF_UPDATE = 1,    ///< Existing records and the header can be written.
        BF_EXTEND = 2,    ///< The same, and records can be added.
        BF_APPEND = 3,    ///< Records can be added by `writeCurrent`, and nothing else written.
        BF_CREATE = 4     ///< As BF_APPEND, in a file that is created, or emptied first. It has no
                          ///< header then, so its first record is at offset 0. A new file can be
                          ///< read and written by its owner only (mode 0600, less the umask).
    };

    /// What other openers can't do until the file is closed. An open fails with -1 (`errno` EACCES)
    /// if it does what an earlier opener denies, or denies what an earlier one does. All openers
    /// read, all but those by BF_READONLY write. If another program has locked the whole file by
    /// `flock`, an open takes a second longer.
    enum E_BF_SHAREMODE : int {
        BF_DENYRW = 0x10,  ///< Reading and writing.
        BF_DENYWR = 0x20,  ///< Writing.
        BF_DENYRD = 0x30,  ///< Reading.
        BF_DENYNO = 0x40   ///< Nothing; the file is shared, and locks are taken.
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

    /// As `closeFile`, but closes the file also where that fails.
    ~BinaryFile();

    /// Opens the file, from now on with a header of `headerSize` bytes and a zeroed buffer for it.
    /// The record size stays. Returns 0, -1 or -2; a failure changes nothing.
    int openFile(const std::string& name, E_BF_FILEMODE mode, E_BF_SHAREMODE share,
                 unsigned int headerSize);

    /// Gives up all locks and closes the file. Returns 0, also for a closed object. -1 if the
    /// system reports that it could not store an earlier write: the object is still open then, with
    /// no record locked, and can be closed again.
    int closeFile();

    /// Reads the header into its buffer. Returns the number of bytes read (fewer where the file
    /// ends before), -1 or -9.
    int readHeader();

    /// Writes the header's buffer and gives up its lock. Returns the number of bytes written, -1,
    /// -3 (all modes but BF_UPDATE and BF_EXTEND) or -9.
    int writeHeader();

    /// Reads record `record` into the record's buffer. Returns the number of bytes read, 0 if there
    /// is no such record, -1 or -10. It becomes the current record, also after -1 and -10 but not
    /// after 0. In a shared file, records that others have added are found.
    int readFile(unsigned int record);

    /// The same for the first, next, previous or last record. Next and previous count from the
    /// current one; 0 beyond the ends.
    int readFile(E_BF_READMODE mode);

    /// Writes the record's buffer as record `record`, which becomes the current one, and gives up
    /// its lock. Returns the number of bytes written, -1, -3 or -10. With BF_EXTEND a number above
    /// the last record's adds one record, whatever the number; what others have added meanwhile
    /// stays. -3 with the modes other than BF_UPDATE and BF_EXTEND, for the number 0, and with
    /// BF_UPDATE for a number above the last record's, as known to this object.
    int writeFile(unsigned int record);

    /// With BF_UPDATE and BF_EXTEND as `writeFile` of the current record. With BF_APPEND and
    /// BF_CREATE it adds a record, which becomes the current one; if others have added records at
    /// the same time, the current one is the last of them all. Returns the number of bytes written,
    /// -1 (`errno` EAGAIN if another one had the file's end locked for 10 seconds), -3 or -10.
    int writeCurrent();

    /// Replaces a buffer by a zeroed one of another size. Returns 0 or -8.
    int changeHeaderSize(unsigned int size);
    int changeRecordSize(unsigned int size);

    bool isOpen() const;

    /// The record that this object has locked, 0 for none.
    unsigned int getLockedRecord() const;

    /// The buffers, valid until their size changes; the header's only until the next `openFile`.
    /// They have two bytes more than their size, which no operation touches.
    unsigned char* getHeaderBuffer() { return headerBuffer.get(); }
    unsigned char* getRecordBuffer() { return recordBuffer.get(); }
    unsigned int getHeaderSize() const { return headerSize; }
    unsigned int getRecordSize() const { return recordSize; }

    /// Whole records in the file when this object last looked: when it opened the file, added a
    /// record, or (in a shared file) was asked for a record beyond those that it knew.
    unsigned int getRecordCount() const { return recordCount; }

    /// The record that was last read or written, 0 for none since the file was opened.
    unsigned int getCurrentRecord() const { return currentRecord; }

    /// What the last successful `openFile` was given; before it an empty name, BF_READONLY and
    /// BF_DENYWR. The name is a reference into the object.
    const std::string& getFileName() const { return fileName; }
    E_BF_FILEMODE getFileMode() const { return fileMode; }
    E_BF_SHAREMODE getShareMode() const { return shareMode; }

    /// Whether this object has locked the header.
    bool isHeaderLocked() const { return headerLocked; }

private:
    using Buffer = std::unique_ptr<unsigned char[]>;

    UTILITIES_LOCAL static Buffer MakeBuffer(unsigned int size);
    UTILITIES_LOCAL bool IsShared() const;
    UTILITIES_LOCAL bool IsForUpdate() const;
    UTILITIES_LOCAL __int64 OffsetOf(unsigned int record) const;
    UTILITIES_LOCAL int lockRecord(unsigned int record, bool mayWait = true);
    UTILITIES_LOCAL void unlockRecord();
    UTILITIES_LOCAL int lockHeader();
    UTILITIES_LOCAL void unlockHeader();
    UTILITIES_LOCAL unsigned int updateRecordCount();
    UTILITIES_LOCAL int AddRecord();
    UTILITIES_LOCAL int WriteNewRecord(unsigned int record);
    UTILITIES_LOCAL int AppendRecord();

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
