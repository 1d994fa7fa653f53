#include "storefile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "files.h"
#include "interrupt.h"
#include "messages.h"
#include "record.h"

namespace {

constexpr char MAGIC[] = "file catalogue\r\n";
constexpr unsigned int VERSION = 2;
constexpr std::size_t MAGIC_SIZE = sizeof MAGIC - 1;
constexpr std::size_t CHECKSUM = 64;  // Where the header's own checksum begins.
constexpr auto SHARED = BinaryFile::BF_DENYNO;

std::string ChecksumOf(const char* bytes, std::size_t size) {
    constexpr std::size_t MOST = 1U << 30;  // A call takes less than 4 GiB.
    MD5 md5;
    for (std::size_t at = 0; at < size; at += MOST)
        md5.update(bytes + at, static_cast<unsigned int>(std::min(size - at, MOST)));
    md5.finalize();
    std::string checksum(16, '\0');
    md5.raw_digest(reinterpret_cast<unsigned char*>(checksum.data()));
    return checksum;
}

std::string HeaderOf(const std::string& blocks, std::size_t streamSize, unsigned __int64 entries) {
    std::string header(MAGIC);
    FieldWriter fields(header);
    fields.Write(VERSION);
    fields.Write(BLOCK_SIZE);
    fields.Write(entries);
    fields.Write(static_cast<unsigned __int64>(streamSize));
    fields.Write(static_cast<unsigned __int64>(create_unique_id()));
    header += ChecksumOf(blocks.data(), blocks.size());
    header += ChecksumOf(header.data(), header.size());
    header.resize(BLOCK_SIZE);
    return header;
}

/// The part of a header that tells of the blocks.
struct HeaderFields {
    unsigned __int64 entries, streamSize;
    std::string checksum;
};

HeaderFields CheckHeader(const std::string& header) {
    if (header.compare(0, MAGIC_SIZE, MAGIC) != 0)
        throw StoreError("not a catalogue's store");
    FieldReader fields(header.data() + MAGIC_SIZE, header.size() - MAGIC_SIZE);
    const auto version = fields.Read<unsigned int>();
    if (header.size() >= MAGIC_SIZE + sizeof version && version != VERSION)
        throw StoreError("a store of version " + std::to_string(version) + ", not " +
                         std::to_string(VERSION) + ": scan into a new one");
    if (header.size() < BLOCK_SIZE)
        throw StoreError("cut off");
    const std::string rest = ChecksumOf(header.data(), CHECKSUM);
    if (header.compare(CHECKSUM, rest.size(), rest) != 0 ||
        header.find_first_not_of('\0', CHECKSUM + rest.size()) != std::string::npos)
        throw StoreError("the header is damaged");
    fields.Read<unsigned int>();
    HeaderFields read{};
    read.entries = fields.Read<unsigned __int64>();
    read.streamSize = fields.Read<unsigned __int64>();
    fields.Read<unsigned __int64>();
    read.checksum.resize(rest.size());
    fields.ReadBytes(read.checksum.data(), read.checksum.size());
    return read;
}

[[noreturn]] void FailBySystem() { throw StoreError(ReasonOf(errno != 0 ? errno : EIO)); }

void Open(BinaryFile& file, const String& path, BinaryFile::E_BF_FILEMODE mode) {
    errno = 0;
    if (file.openFile(path, mode, SHARED, BLOCK_SIZE) != 0)
        FailBySystem();
}

/// The header of an open store; shorter where the file ends.
std::string ReadHeader(BinaryFile& file) {
    errno = 0;
    const int got = file.readHeader();
    if (got < 0)
        FailBySystem();
    return std::string(reinterpret_cast<const char*>(file.getHeaderBuffer()),
                       static_cast<std::size_t>(got));
}

std::string ReadBlocks(BinaryFile& file, unsigned __int64 size) {
    std::string blocks;
    blocks.reserve(static_cast<std::size_t>(size));
    const auto* const buffer = reinterpret_cast<const char*>(file.getRecordBuffer());
    while (blocks.size() < size) {
        errno = 0;
        const int got = file.readFile(BinaryFile::BF_READ_NEXT);
        if (got < 0)
            FailBySystem();
        if (got != static_cast<int>(BLOCK_SIZE))
            throw StoreError("cut off");
        blocks.append(buffer, BLOCK_SIZE);
    }
    return blocks;
}

unsigned __int64 SizeOf(const String& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        FailBySystem();
    if (!S_ISREG(status.st_mode))
        throw StoreError("not a file");
    return static_cast<unsigned __int64>(status.st_size);
}

unsigned __int64 InWholeBlocks(unsigned __int64 size) {
    return (size + BLOCK_SIZE - 1) / BLOCK_SIZE * BLOCK_SIZE;
}

void WriteBlock(BinaryFile& file, const char* block) {
    std::memcpy(file.getRecordBuffer(), block, BLOCK_SIZE);
    errno = 0;
    const int written = file.writeCurrent();
    if (written != static_cast<int>(BLOCK_SIZE))
        throw StoreError(ReasonOf(errno != 0 ? errno : ENOSPC));
}

/// Otherwise a failure of the power could leave the name with the new file and nothing in it.
void StoreOnDisk(const String& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.IsOpen() || fdatasync(file.Number()) != 0)
        FailBySystem();
}

}  // namespace

StoreContent ReadStoreFile(const String& path) {
    BinaryFile file(BLOCK_SIZE, BLOCK_SIZE);
    const unsigned __int64 size = SizeOf(path);
    Open(file, path, BinaryFile::BF_READONLY);
    StoreContent content;
    content.header = ReadHeader(file);
    const HeaderFields fields = CheckHeader(content.header);
    if (fields.streamSize > size || size < BLOCK_SIZE + InWholeBlocks(fields.streamSize))
        throw StoreError("cut off");
    if (size > BLOCK_SIZE + InWholeBlocks(fields.streamSize))
        throw StoreError("there is more after its end");
    content.entries = fields.entries;
    content.stream = ReadBlocks(file, InWholeBlocks(fields.streamSize));
    if (ChecksumOf(content.stream.data(), content.stream.size()) != fields.checksum)
        throw StoreError("the entries are damaged");
    content.stream.resize(static_cast<std::size_t>(fields.streamSize));
    return content;
}

std::string WriteStoreFile(const String& path, const std::string& stream,
                           unsigned __int64 entries) {
    std::string blocks = stream;
    blocks.resize(static_cast<std::size_t>(InWholeBlocks(stream.size())));
    BinaryFile file(BLOCK_SIZE, 0);
    errno = 0;
    if (file.openFile(path, BinaryFile::BF_CREATE, BinaryFile::BF_DENYRW, 0) != 0)
        FailBySystem();
    std::string header = HeaderOf(blocks, stream.size(), entries);
    WriteBlock(file, header.data());
    for (std::size_t at = 0; at < blocks.size(); at += BLOCK_SIZE)
        WriteBlock(file, &blocks[at]);
    if (file.closeFile() != 0)
        FailBySystem();
    StoreOnDisk(path);
    return header;
}

String TemporaryPathFor(const String& path) {
    String ending;
    ending.Format(".new%d-%I64d", static_cast<int>(getpid()), create_unique_id());
    return path + ending;
}

ScopedTemporary::~ScopedTemporary() { unlink(m_Path.c_str()); }

// Whoever held the lock before may have replaced the file: then the lock is that of a file without
// a name, and the one that has the name now is locked instead.
ScopedStoreLock::ScopedStoreLock(const String& path) {
    constexpr int MOST_TRIES = 6;  // The first steps wait up to 10 seconds each.
    for (int attempt = 0; attempt < MOST_TRIES;) {
        m_File.closeFile();
        Open(m_File, path, BinaryFile::BF_UPDATE);
        const int got = m_File.readHeader();
        if (got < 0) {
            StopIfInterrupted();
            ++attempt;
            continue;
        }
        m_Header = std::string(reinterpret_cast<const char*>(m_File.getHeaderBuffer()),
                               static_cast<std::size_t>(got));
        BinaryFile current(0, BLOCK_SIZE);
        Open(current, path, BinaryFile::BF_READONLY);
        if (ReadHeader(current) == m_Header)
            return;
    }
    throw StoreError("locked by another process");
}
