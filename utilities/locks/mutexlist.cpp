#include "utilities/locks/mutexlist.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <ostream>
#include <streambuf>

#include "utilities/locks/registry_internal.h"
#include "utilities/platform/clock.h"
#include "utilities/platform/files.h"

namespace {

constexpr char LIST_PATH[] = "MutexList";
constexpr char LOG_PATH[] = "./MutexLog";
constexpr char LOG_BACKUP_PATH[] = "./MutexLog.bak";
constexpr char THREAD_LIST_PATH[] = "./vyThreadList";

constexpr std::uint32_t LONGEST_HOLD = 20000;    // Milliseconds.
constexpr unsigned int PAUSE_BEFORE_ABORT = 20;  // Milliseconds.
constexpr std::size_t LONGEST_THREAD_LIST = 1023;

/// A file that is emptied, or created, and written as a stream. The stream of the standard library
/// could become a standard one that the program has closed, and child processes would inherit it.
class OutputBuffer : public std::streambuf {
public:
    explicit OutputBuffer(const char* path) : m_File(platform::fopen(path, "w")) {}
    ~OutputBuffer() override {
        if (m_File != nullptr)
            std::fclose(m_File);
    }
    OutputBuffer(const OutputBuffer&) = delete;
    OutputBuffer& operator=(const OutputBuffer&) = delete;

    bool IsOpen() const { return m_File != nullptr; }

protected:
    int_type overflow(int_type character) override { return std::fputc(character, m_File); }
    std::streamsize xsputn(const char* text, std::streamsize size) override {
        return static_cast<std::streamsize>(
            std::fwrite(text, 1, static_cast<std::size_t>(size), m_File));
    }
    int sync() override { return std::fflush(m_File); }

private:
    std::FILE* const m_File;
};

bool IsInUse(const MutexDbgEntry& record) {
    return record.InUse.load(std::memory_order_acquire) == RECORD_IN_USE;
}

std::uint32_t OwnerOf(const MutexDbgEntry& record) {
    return record.Owner.load(std::memory_order_acquire);
}

void WriteName(std::ostream& out, const MutexDbgEntry& record) {
    char name[MUTEX_NAME_SIZE + 1];
    *std::copy(std::begin(record.Name), std::end(record.Name), name) = '\0';
    out << name;
}

void WriteRecord(std::ostream& out, std::uint16_t index, std::uint32_t owner) {
    const MutexDbgEntry& record = MutexDbgList[index];
    WriteName(out, record);
    out << "\t :   " << index << "   -> O:";
    if (owner != 0) {
        out << owner;
        for (const std::uint32_t waiter : record.Waiter) {
            if (waiter != 0)
                out << " | W: " << waiter;
        }
    }
    out << std::endl;
}

bool HasWaiter(const MutexDbgEntry& record) {
    return std::any_of(std::begin(record.Waiter), std::end(record.Waiter),
                       [](std::uint32_t waiter) { return waiter != 0; });
}

/// One acquisition of one mutex.
struct Holding {
    std::uint32_t uses;
    std::uint32_t owner;
    std::uint32_t lockTime;
    bool operator==(const Holding&) const = default;
};

/// Reads how the mutex is held. False where it is free, where nobody waits, or where the record
/// went to another mutex meanwhile, so that what was read may be of both.
bool ReadHolding(const MutexDbgEntry& record, Holding& holding) {
    holding.uses = record.Uses.load(std::memory_order_acquire);
    holding.owner = OwnerOf(record);
    holding.lockTime = record.LockTime.load(std::memory_order_acquire);
    const bool hasWaiter = HasWaiter(record);
    std::atomic_thread_fence(std::memory_order_acquire);
    return IsInUse(record) && record.Uses.load(std::memory_order_relaxed) == holding.uses &&
           holding.owner != 0 && hasWaiter;
}

// The stamp is read before the clock: one that is made in between would otherwise lie in the
// future, and the difference would be huge.
bool IsHeldTooLong(const MutexDbgEntry& record, Holding& holding) {
    return ReadHolding(record, holding) && platform::clock() - holding.lockTime > LONGEST_HOLD;
}

/// A finding counts if it still holds when the record is read once more: the end of the process
/// must not follow from fields that never stood together.
bool IsDeadlocked(const MutexDbgEntry& record) {
    Holding first{};
    Holding second{};
    return IsHeldTooLong(record, first) && IsHeldTooLong(record, second) && first == second;
}

bool IsAnyDeadlocked() {
    return std::any_of(MutexDbgList, MutexDbgList + MutexDbgCount.load(std::memory_order_relaxed),
                       IsDeadlocked);
}

void RotateReports() {
    struct _stat status;
    if (platform::_stat(LOG_PATH, &status) == 0)
        platform::rename(LOG_PATH, LOG_BACKUP_PATH);
}

void CopyThreadList(std::ostream& log) {
    std::FILE* const list = platform::fopen(THREAD_LIST_PATH, "r");
    if (list == nullptr)
        return;
    char text[LONGEST_THREAD_LIST + 1];
    text[std::fread(text, 1, LONGEST_THREAD_LIST, list)] = '\0';
    std::fclose(list);
    log << text << std::endl;
}

void WriteReport() {
    RotateReports();
    OutputBuffer file(LOG_PATH);
    if (!file.IsOpen())
        return;
    std::ostream log(&file);
    showMutexList(log, false);
    CopyThreadList(log);
}

}  // namespace

void showMutexList(std::ostream& out, bool showAll) {
    const std::uint16_t count = MutexDbgCount.load(std::memory_order_relaxed);
    out << "Display Mutex List: --> Mutex Count: " << count << std::endl;
    out << "Mutex Name: Index -> O: Owner | W: Waiter | W: Waiter  ..." << std::endl;
    for (std::uint16_t index = 0; index < count; ++index) {
        if (!IsInUse(MutexDbgList[index]))
            continue;
        const std::uint32_t owner = OwnerOf(MutexDbgList[index]);
        if (owner != 0 || showAll)
            WriteRecord(out, index, owner);
    }
}

void WriteMutexListFile(bool showAll) {
    OutputBuffer file(LIST_PATH);
    if (!file.IsOpen())
        return;
    std::ostream list(&file);
    showMutexList(list, showAll);
}

void checkMutexListForDeadlock() {
    if (!IsAnyDeadlocked())
        return;
    WriteReport();
    platform::Sleep(PAUSE_BEFORE_ABORT);
    std::abort();
}
