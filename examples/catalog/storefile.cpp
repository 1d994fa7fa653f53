#include "storefile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "messages.h"
#include "record.h"

namespace {

// The header has a record's size, so that each record lies within one page.
constexpr unsigned int HEADER_SIZE = RECORD_SIZE;
constexpr char MAGIC[] = "file catalogue\r\n";
constexpr std::size_t MAGIC_SIZE = sizeof MAGIC - 1;
constexpr unsigned int VERSION = 1;
constexpr auto SHARED = BinaryFile::BF_DENYNO;

std::string Header() {
    std::string header(HEADER_SIZE, '\0');
    header.replace(0, MAGIC_SIZE, MAGIC);
    unsigned int size = sizeof VERSION;
    MultiType(VERSION).GetBigEndianFormatted(&header[MAGIC_SIZE], size, nullptr, nullptr);
    MultiType(RECORD_SIZE)
        .GetBigEndianFormatted(&header[MAGIC_SIZE + size], size, nullptr, nullptr);
    return header;
}

unsigned __int64 SizeOf(const String& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        throw StoreError(ReasonOf(errno));
    return static_cast<unsigned __int64>(status.st_size);
}

void CheckHeader(const std::string& header, unsigned __int64 fileSize) {
    const std::string expected = Header();
    if (header.compare(0, MAGIC_SIZE, MAGIC) != 0)
        throw StoreError("not a catalogue's store");
    MultiType version;
    version.SetBigEndianFormatted(&header[MAGIC_SIZE], sizeof VERSION, MultiType::TYPE_UINT, 0);
    if (version.GetAs<unsigned int>() != VERSION)
        throw StoreError("a store of version " + version.GetAs<String>() + ", not " +
                         MultiType(VERSION).GetAs<String>());
    if (fileSize < HEADER_SIZE || (fileSize - HEADER_SIZE) % RECORD_SIZE != 0)
        throw StoreError("cut off");
    if (header != expected)
        throw StoreError("the header is damaged");
}

/// Makes the store as a temporary file first and links it to its path, so that nobody sees a half
/// written store. A store that another process made meanwhile is kept.
void CreateStore(const String& path) {
    const String temporary = TemporaryPathFor(path);
    BinaryFile file(HEADER_SIZE, HEADER_SIZE);
    if (file.openFile(temporary, BinaryFile::BF_CREATE, BinaryFile::BF_DENYRW, HEADER_SIZE) != 0)
        throw StoreError(ReasonOf(errno));
    std::memcpy(file.getRecordBuffer(), Header().data(), HEADER_SIZE);
    int error = file.writeCurrent() == static_cast<int>(HEADER_SIZE) ? 0 : ENOSPC;
    file.closeFile();
    if (error == 0 && link(temporary.c_str(), path.c_str()) != 0 && errno != EEXIST)
        error = errno;
    unlink(temporary.c_str());
    if (error != 0)
        throw StoreError(ReasonOf(error));
}

}  // namespace

String TemporaryPathFor(const String& path) {
    String ending;
    ending.Format(".new%d-%I64d", static_cast<int>(getpid()), create_unique_id());
    return path + ending;
}

void CheckResult(int result, unsigned int expected) {
    if (result == static_cast<int>(expected))
        return;
    if (result == -9 || result == -10)
        throw StoreError("locked by another process");
    throw StoreError(result == -1 && errno != 0 ? std::string(ReasonOf(errno))
                                                : "can't be read or written");
}

void OpenStore(BinaryFile& file, const String& path, bool toChange) {
    errno = 0;
    if (file.openFile(path, BinaryFile::BF_READONLY, SHARED, HEADER_SIZE) != 0)
        throw StoreError(ReasonOf(errno != 0 ? errno : EACCES));
    const int got = file.readHeader();
    const char* const bytes = reinterpret_cast<const char*>(file.getHeaderBuffer());
    CheckHeader(std::string(bytes, bytes + std::max(got, 0)), SizeOf(path));
    if (!toChange)
        return;
    file.closeFile();
    if (file.openFile(path, BinaryFile::BF_EXTEND, SHARED, HEADER_SIZE) != 0)
        throw StoreError(ReasonOf(errno != 0 ? errno : EACCES));
}

void EnsureStore(const String& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0 && errno == ENOENT)
        CreateStore(path);
}

ScopedStoreLock::ScopedStoreLock(BinaryFile& file) : m_File(file) {
    CheckResult(RetryWhileLocked([this] { return m_File.readHeader(); }), HEADER_SIZE);
}

// Writing the header, just as it was read, releases its lock.
ScopedStoreLock::~ScopedStoreLock() { m_File.writeHeader(); }
