#include "utilities/platform/linux/zonefile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>

#include "utilities/platform/linux/retry.h"
#include "utilities/platform/linux/zonerule.h"

namespace platform {

namespace {

constexpr char ZONE_FOLDER[] = "/usr/share/zoneinfo";
constexpr std::size_t HEADER_SIZE = 44;
constexpr std::size_t TYPE_SIZE = 6;
/// Offsets beyond this are no clock's; those of the database are within 16 hours.
constexpr std::int32_t MOST_OFFSET = 26 * 3600;

std::int64_t BigEndian(const char* bytes, std::size_t size) {
    std::uint64_t value = (bytes[0] & 0x80) != 0 ? ~std::uint64_t{0} : 0;
    for (std::size_t i = 0; i < size; ++i)
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return static_cast<std::int64_t>(value);
}

/// One of the one or two blocks of a zone file: times, their types, the types, their names.
class ZoneBlock {
public:
    /// False where `bytes` doesn't begin with a whole block.
    bool Find(std::string_view bytes, std::size_t sizeOfTime) {
        if (bytes.size() < HEADER_SIZE || bytes.substr(0, 4) != "TZif")
            return false;
        std::array<std::size_t, 6> counts;
        for (std::size_t i = 0; i < counts.size(); ++i)
            counts[i] = static_cast<std::uint32_t>(BigEndian(&bytes[20 + 4 * i], 4));
        const auto [utCount, standardCount, leapCount, times, types, names] = counts;
        timeSize = sizeOfTime;
        timeCount = times;
        typeCount = types;
        namesSize = names;
        typesAt = times * (sizeOfTime + 1);
        size = typesAt + types * TYPE_SIZE + names + leapCount * (sizeOfTime + 4) + standardCount +
               utCount;
        if (types == 0 || size > bytes.size() - HEADER_SIZE)
            return false;
        data = bytes.substr(HEADER_SIZE, size);
        version = bytes[4];
        return true;
    }

    std::size_t Size() const { return HEADER_SIZE + size; }
    char Version() const { return version; }

    bool Fill(Zone& zone) const {
        ZoneClock clock;
        if (!Clock(0, clock))
            return false;
        zone.Begin(clock);
        std::int64_t before = 0;
        for (std::size_t i = 0; i < timeCount; ++i) {
            const std::int64_t from = BigEndian(&data[i * timeSize], timeSize);
            const char type = data[timeCount * timeSize + i];
            if ((i > 0 && from <= before) || !Clock(static_cast<unsigned char>(type), clock))
                return false;
            zone.Add(from, clock);
            before = from;
        }
        return true;
    }

private:
    bool Clock(std::size_t type, ZoneClock& clock) const {
        if (type >= typeCount)
            return false;
        const char* const fields = &data[typesAt + type * TYPE_SIZE];
        const std::string_view names = data.substr(typesAt + typeCount * TYPE_SIZE, namesSize);
        const std::size_t name = static_cast<unsigned char>(fields[5]);
        const std::int64_t offset = BigEndian(fields, 4);
        if (name >= names.size() || offset < -MOST_OFFSET || offset > MOST_OFFSET)
            return false;
        const std::string_view text = names.substr(name);
        clock = {static_cast<std::int32_t>(offset), fields[4] != 0,
                 KeepName(text.substr(0, text.find('\0')))};
        return true;
    }

    std::string_view data;
    std::size_t timeSize = 0, timeCount = 0, typeCount = 0, namesSize = 0;
    std::size_t typesAt = 0, size = 0;
    char version = '\0';
};

/// Behind the second block stands, between two line ends, the rule for what comes after.
void FollowRule(std::string_view footer, Zone& zone) {
    const std::size_t end = footer.find('\n', 1);
    ZoneRule rule{};
    if (end == footer.npos || footer[0] != '\n' || end == 1 ||
        !ParseZoneRule(footer.substr(1, end - 1), rule))
        return;
    AddChanges(zone, rule);
}

/// Empty where there is no regular file that can be read, or one that is too large for a zone.
std::string ContentOf(const char* path) {
    std::string content;
    struct stat status;
    const int file =
        Uninterrupted([&] { return open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); });
    if (file < 0)
        return content;
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size <= 1 << 20) {
        content.resize(static_cast<std::size_t>(status.st_size));
        const ssize_t size =
            Uninterrupted([&] { return read(file, content.data(), content.size()); });
        content.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    }
    close(file);
    return content;
}

std::string PathOf(const char* name) {
    if (name[0] == '/')
        return name;
    const char* const folder = secure_getenv("TZDIR");
    return std::string(folder != nullptr && *folder != '\0' ? folder : ZONE_FOLDER) + "/" + name;
}

/// A program with rights of its own opens no file for its caller.
bool MayOpen(const char* name) {
    const bool leavesFolder = name[0] == '/' || std::strstr(name, "../") != nullptr;
    return !leavesFolder || std::strcmp(name, "/etc/localtime") == 0 ||
           secure_getenv("TZ") != nullptr;
}

bool LoadRule(const char* text, Zone& zone) {
    ZoneRule rule{};
    if (!ParseZoneRule(text, rule))
        return false;
    zone.Begin(rule.standard);
    AddChanges(zone, rule);
    return true;
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
        FollowRule(bytes.substr(block.Size()), zone);
    }
    zone.Finish();
    return true;
}

void LoadZone(const char* name, Zone& zone) {
    if (MayOpen(name) && ReadZone(ContentOf(PathOf(name).c_str()), zone))
        return;
    if (!LoadRule(name, zone))
        zone.Begin({0, false, KeepName("UTC")});
    zone.Finish();
}

}  // namespace platform
