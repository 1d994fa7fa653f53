#include "record.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t CHECKSUM_SIZE = 8;
constexpr std::size_t ENTRY_PATH = 96;  // Where the path begins in an entry's own record
constexpr std::size_t PART_PATH = 16;   // and in a part record.
constexpr std::size_t ENTRY_PATH_SIZE = RECORD_SIZE - ENTRY_PATH;
constexpr std::size_t PART_PATH_SIZE = RECORD_SIZE - PART_PATH;
constexpr unsigned char PATH_PART = 3;    // The kind of a part record, beside those of entries.
constexpr unsigned int DIGEST_SIZE = 33;  // With its terminator.

std::size_t PartsFor(std::size_t pathLength) {
    const std::size_t rest = pathLength - std::min(pathLength, ENTRY_PATH_SIZE);
    return (rest + PART_PATH_SIZE - 1) / PART_PATH_SIZE;
}

std::string ChecksumOf(const char* record) {
    MD5 md5(record + CHECKSUM_SIZE, RECORD_SIZE - CHECKSUM_SIZE);
    unsigned char digest[16];
    md5.raw_digest(digest);
    return std::string(reinterpret_cast<const char*>(digest), CHECKSUM_SIZE);
}

/// Writes values one after the other into a record.
class FieldWriter {
public:
    explicit FieldWriter(std::string& record) : m_Record(record) {}

    void Write(const MultiType& value) {
        auto size = static_cast<unsigned int>(m_Record.size() - m_Offset);
        value.GetBigEndianFormatted(&m_Record[m_Offset], size, nullptr, nullptr);
        m_Offset += size;
    }

private:
    std::string& m_Record;
    std::size_t m_Offset = CHECKSUM_SIZE;
};

/// Reads values in the order in which they were written.
class FieldReader {
public:
    explicit FieldReader(const char* record) : m_Record(record) {}

    template <class Number>
    Number Read(MultiType::TYPE type) {
        const unsigned int size = MultiType::GetTypeSize(type);
        MultiType value;
        value.SetBigEndianFormatted(m_Record + m_Offset, size, type, 0);
        m_Offset += size;
        return value.GetAs<Number>();
    }

    String ReadText(unsigned int size) {
        const char* const text = m_Record + m_Offset;
        m_Offset += size;
        return String(std::string(text, strnlen(text, size)));
    }

private:
    const char* m_Record;
    std::size_t m_Offset = CHECKSUM_SIZE;
};

std::string WithChecksum(std::string record) {
    record.replace(0, CHECKSUM_SIZE, ChecksumOf(record.data()));
    return record;
}

std::string PartRecord(const std::string& part) {
    std::string record(RECORD_SIZE, '\0');
    FieldWriter(record).Write(PATH_PART);
    record.replace(PART_PATH, part.size(), part);
    return WithChecksum(record);
}

std::string OwnRecord(const Entry& entry) {
    std::string record(RECORD_SIZE, '\0');
    FieldWriter fields(record);
    fields.Write(static_cast<unsigned char>(entry.kind));
    fields.Write(entry.isMissing);
    fields.Write(static_cast<unsigned short>(PartsFor(entry.path.size())));
    fields.Write(static_cast<unsigned int>(entry.path.size()));
    fields.Write(entry.status.size);
    fields.Write(entry.status.modified);
    fields.Write(entry.scan);
    fields.Write(entry.scanned);
    fields.Write(entry.digest);
    const std::size_t here = std::min(entry.path.size(), ENTRY_PATH_SIZE);
    record.replace(ENTRY_PATH, here, entry.path, 0, here);
    return WithChecksum(record);
}

}  // namespace

std::vector<std::string> RecordsOf(const Entry& entry) {
    std::vector<std::string> records;
    for (std::size_t at = ENTRY_PATH_SIZE; at < entry.path.size(); at += PART_PATH_SIZE)
        records.push_back(PartRecord(entry.path.substr(at, PART_PATH_SIZE)));
    records.push_back(OwnRecord(entry));
    return records;
}

bool IsIntact(const char* record) {
    return std::memcmp(record, ChecksumOf(record).data(), CHECKSUM_SIZE) == 0;
}

int PartsBefore(const char* record) {
    FieldReader fields(record);
    const auto kind = fields.Read<int>(MultiType::TYPE_UCHAR);
    if (kind == PATH_PART)
        return -1;
    if (kind != Entry::FILE && kind != Entry::DIRECTORY)
        return -2;
    fields.Read<bool>(MultiType::TYPE_BOOL);
    return fields.Read<int>(MultiType::TYPE_USHORT);
}

bool ReadEntry(const std::vector<std::string>& records, Entry& entry) {
    FieldReader fields(records.back().data());
    entry.kind = static_cast<Entry::Kind>(fields.Read<int>(MultiType::TYPE_UCHAR));
    entry.isMissing = fields.Read<bool>(MultiType::TYPE_BOOL);
    const auto parts = fields.Read<unsigned int>(MultiType::TYPE_USHORT);
    const auto length = fields.Read<unsigned int>(MultiType::TYPE_UINT);
    entry.status.size = fields.Read<unsigned __int64>(MultiType::TYPE_UINT64);
    entry.status.modified = fields.Read<__int64>(MultiType::TYPE_INT64);
    entry.scan = fields.Read<unsigned __int64>(MultiType::TYPE_UINT64);
    entry.scanned = fields.Read<__int64>(MultiType::TYPE_INT64);
    entry.digest = fields.ReadText(DIGEST_SIZE);

    entry.path = records.back().substr(ENTRY_PATH);
    for (auto part = records.begin(); part + 1 != records.end(); ++part) {
        if (PartsBefore(part->data()) != -1)
            return false;
        entry.path += part->substr(PART_PATH);
    }
    const bool fits = parts + 1 == records.size() && PartsFor(length) == parts;
    entry.path.resize(fits ? length : 0);
    return fits;
}
