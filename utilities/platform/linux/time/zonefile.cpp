#include "utilities/platform/linux/time/zonefile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "utilities/platform/linux/files/opening.h"
#include "utilities/platform/linux/sync/retry.h"
#include "utilities/platform/linux/time/zonerule.h"

namespace platform {

namespace {

constexpr char ZONE_FOLDER[] = "/usr/share/zoneinfo";
constexpr std::size_t HEADER_SIZE = 44;
constexpr std::size_t COUNTS_AT = 20;
constexpr std::size_t TYPE_SIZE = 6;

/// Files of the zone database have at most a few thousand bytes.
constexpr off_t MOST_FILE_SIZE = 1 << 20;

/// RFC 8536 keeps offsets within 25 hours behind and 26 ahead of GMT. Those of the zone database
/// are within 16 hours.
constexpr std::int32_t MOST_OFFSET = 26 * 3600;

std::int64_t BigEndian(const char* bytes, std::size_t size) {
    std::uint64_t value = (bytes[0] & 0x80) != 0 ? ~std::uint64_t{0} : 0;
    for (std::size_t i = 0; i < size; ++i)
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return static_cast<std::int64_t>(value);
}

/// A block of a zone file: a header with its counts, then the times of the changes, the type that
/// each of them changes to, the types, their names. A file has one block with times of 4 bytes,
/// and from version 2 on another one with times of 8 bytes after it.
class ZoneBlock {
public:
    /// False where `bytes` doesn't begin with a whole block.
    bool Find(std::string_view bytes, std::size_t timeSize) {
        if (bytes.size() < HEADER_SIZE || bytes.substr(0, 4) != "TZif")
            return false;
        std::array<std::size_t, 6> counts;
        for (std::size_t i = 0; i < counts.size(); ++i)
            counts[i] = static_cast<std::uint32_t>(BigEndian(&bytes[COUNTS_AT + 4 * i], 4));
        const auto [utCount, standardCount, leapCount, timeCount, typeCount, namesSize] = counts;
        m_TimeSize = timeSize;
        m_TimeCount = timeCount;
        m_TypeCount = typeCount;
        m_NamesSize = namesSize;
        m_TypesAt = timeCount * (timeSize + 1);
        m_Size = m_TypesAt + typeCount * TYPE_SIZE + namesSize + leapCount * (timeSize + 4) +
                 standardCount + utCount;
        if (typeCount == 0 || m_Size > bytes.size() - HEADER_SIZE)
            return false;
        m_Data = bytes.substr(HEADER_SIZE, m_Size);
        m_Version = bytes[4];
        return true;
    }

    std::size_t Size() const { return HEADER_SIZE + m_Size; }
    char Version() const { return m_Version; }

    bool Fill(Zone& zone) const {
        std::array<ZoneClock, 256> clocks{};  // by type; without a name those that are not read yet
        const auto clockOf = [&](char typeByte) -> const ZoneClock* {
            const auto type = static_cast<unsigned char>(typeByte);
            const bool isKnown =
                clocks[type].name != nullptr || ReadClock(type, zone, clocks[type]);
            return isKnown ? &clocks[type] : nullptr;
        };
        const ZoneClock* clock = clockOf('\0');
        if (clock == nullptr)
            return false;
        zone.Begin(*clock);
        std::int64_t before = 0;
        for (std::size_t i = 0; i < m_TimeCount; ++i) {
            const std::int64_t from = BigEndian(&m_Data[i * m_TimeSize], m_TimeSize);
            clock = clockOf(m_Data[m_TimeCount * m_TimeSize + i]);
            if ((i > 0 && from <= before) || clock == nullptr)
                return false;
            zone.Add(from, *clock);
            before = from;
        }
        return true;
    }

private:
    bool ReadClock(std::size_t type, Zone& zone, ZoneClock& clock) const {
        if (type >= m_TypeCount)
            return false;
        const char* const fields = &m_Data[m_TypesAt + type * TYPE_SIZE];
        const std::string_view names =
            m_Data.substr(m_TypesAt + m_TypeCount * TYPE_SIZE, m_NamesSize);
        const std::size_t nameAt = static_cast<unsigned char>(fields[5]);
        const std::int64_t offset = BigEndian(fields, 4);
        if (nameAt >= names.size() || offset < -MOST_OFFSET || offset > MOST_OFFSET)
            return false;
        const std::string_view name = names.substr(nameAt);
        clock = {static_cast<std::int32_t>(offset), fields[4] != 0,
                 zone.KeepName(name.substr(0, name.find('\0')))};
        return true;
    }

    std::string_view m_Data;  // without the header
    std::size_t m_TimeSize = 0, m_TimeCount = 0, m_TypeCount = 0, m_NamesSize = 0;
    std::size_t m_TypesAt = 0, m_Size = 0;
    char m_Version = '\0';
};

/// Adds the changes after the last one of a file by the rule that stands in its footer, between two
/// line ends after the second block. An empty or damaged footer adds none.
void FollowFooter(std::string_view footer, Zone& zone) {
    const std::size_t end = footer.find('\n', 1);
    ZoneRule rule{};
    if (end == footer.npos || footer[0] != '\n' || end == 1 ||
        !ParseZoneRule(footer.substr(1, end - 1), rule))
        return;
    AddChanges(zone, rule);
}

/// The bytes of a file.
struct Content {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;
};

/// Reads until `content` is full or the file ends. False where the device fails.
bool ReadAll(int file, std::size_t capacity, Content& content) {
    ssize_t part = 1;
    while (part > 0 && content.size < capacity) {
        part = Uninterrupted(
            [&] { return read(file, &content.bytes[content.size], capacity - content.size); });
        content.size += part > 0 ? static_cast<std::size_t>(part) : 0;
    }
    return part >= 0;
}

/// Reads a file. Empty where there is no regular file that may be read, or one that is too large
/// for a zone. False where that can't be told at present.
bool ReadFile(const char* path, Content& content) {
    const int file = OpenAtOnce(path, O_RDONLY);
    if (file < 0)
        return errno != EMFILE && errno != ENFILE && errno != ENOMEM && errno != EIO;
    struct stat status;
    bool isTold = fstat(file, &status) == 0;
    if (isTold && S_ISREG(status.st_mode) && status.st_size <= MOST_FILE_SIZE) {
        const auto size = static_cast<std::size_t>(status.st_size);
        content.bytes.reset(new (std::nothrow) char[size]);
        isTold = content.bytes != nullptr && ReadAll(file, size, content);
    }
    close(file);
    return isTold;
}

/// A program with rights of its own opens no file for its caller that is not the zone database's.
bool MayOpen(const char* name) {
    const bool leavesFolder = name[0] == '/' || std::strstr(name, "../") != nullptr;
    return !leavesFolder || std::strcmp(name, "/etc/localtime") == 0 ||
           secure_getenv("TZ") != nullptr;
}

bool ReadZoneFile(const char* name, Content& content) {
    const char* folder = secure_getenv("TZDIR");
    if (folder == nullptr || *folder == '\0')
        folder = ZONE_FOLDER;
    char path[PATH_MAX];
    const int length = name[0] == '/' ? std::snprintf(path, sizeof path, "%s", name)
                                      : std::snprintf(path, sizeof path, "%s/%s", folder, name);
    const bool isPath = length >= 0 && static_cast<std::size_t>(length) < sizeof path;
    return !isPath || !MayOpen(name) || ReadFile(path, content);
}

}  // namespace

bool ReadZone(std::string_view bytes, Zone& zone) {
    ZoneBlock block;
    if (!block.Find(bytes, 4))
        return false;
    if (block.Version() < '2') {
        if (!block.Fill(zone))
            return false;
    } else {
        bytes.remove_prefix(block.Size());
        if (!block.Find(bytes, 8) || !block.Fill(zone))
            return false;
        FollowFooter(bytes.substr(block.Size()), zone);
    }
    zone.Finish();
    return true;
}

bool LoadZone(const char* name, Zone& zone) {
    Content content;
    if (!ReadZoneFile(name, content))
        return false;
    if (ReadZone({content.bytes.get(), content.size}, zone))
        return true;
    ZoneRule rule{};
    if (ParseZoneRule(name, rule)) {
        BeginZone(zone, rule);
        AddChanges(zone, rule);
    } else {
        zone.Begin({0, false, zone.KeepName("UTC")});
    }
    zone.Finish();
    return true;
}

}  // namespace platform
