#include <fcntl.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "checksums.h"
#include "commands.h"
#include "directory.h"
#include "json.h"
#include "messages.h"
#include "parallel.h"
#include "progress.h"
#include "report.h"
#include "statuslogs.h"

namespace {

struct Checked {
    Checksum checksum;
    Finding finding{};
};

/// The checksum in a line of JSON; nothing if the object has none, as a directory's hasn't.
std::optional<Checksum> ChecksumOf(const std::map<std::string, std::string>& members) {
    const auto member = [&](const char* name) {
        const auto found = members.find(name);
        return found != members.end() ? found->second : std::string();
    };
    Checksum checksum;
    checksum.name = member("path");
    Digests& digests = checksum.digests;
    checksum.isSha256 = ReadHex(member("sha256"), digests.sha256.data(), digests.sha256.size());
    digests.hasSha256 = checksum.isSha256;
    const bool hasMd5 = ReadHex(member("md5"), digests.md5.data(), digests.md5.size());
    return hasMd5 || checksum.isSha256 ? std::optional(checksum) : std::nullopt;
}

/// Reads the lines of a list of checksums.
class ListReader {
public:
    explicit ListReader(bool namesEndWithNul) : m_EndsWithNul(namesEndWithNul) {}

    void Read(std::istream& list, const std::string& name) {
        unsigned int number = 0;
        for (std::string line; std::getline(list, line, m_EndsWithNul ? '\0' : '\n');)
            Take(line, name, ++number);
    }

    std::vector<Checked> files;
    bool allRead = true;

private:
    void Take(const std::string& line, const std::string& list, unsigned int number) {
        if (line.empty() || line[0] == '#')
            return;
        std::optional<Checksum> checksum;
        if (line[0] == '{') {
            const auto object = ReadJsonLine(line);
            checksum = object ? ChecksumOf(*object) : std::nullopt;
            if (object && object->count("path") != 0 && !checksum)
                return;
        } else {
            checksum = ReadChecksumLine(line, m_EndsWithNul);
        }
        if (checksum)
            return files.push_back({*checksum});
        PrintError(list, "line " + std::to_string(number) + " is no checksum");
        allRead = false;
    }

    const bool m_EndsWithNul;
};

ListReader ReadLists(const CommandLine& line) {
    ListReader reader(line.Has("zero"));
    const Arguments lists = line.words.empty() ? Arguments{"-"} : line.words;
    for (const String& name : lists) {
        std::ifstream file;
        if (name != "-")
            file.open(name.c_str(), std::ios::binary);
        if (!file)
            throw std::system_error(errno, std::generic_category(), Escaped(name));
        reader.Read(name == "-" ? std::cin : file, name);
    }
    return reader;
}

/// Links are followed, as all who write such lists do.
Finding Look(const Checksum& expected, const std::string& base, const Descriptor& top) {
    Finding finding;
    Entry now;
    finding.entry.path = expected.name;
    const std::string path =
        expected.name[0] == '/' || base.empty() ? expected.name : Joined(base, expected.name);
    std::error_code error;
    const auto place = std::filesystem::canonical(path, error);
    if (error) {
        finding.state = error == std::errc::no_such_file_or_directory ? MISSING : UNREADABLE;
        finding.text = ReasonOf(error.value());
        return finding;
    }
    now.path = Below(place.string(), "/");
    finding.text = ReadContent(top, expected.isSha256, now);
    if (!finding.text.empty()) {
        finding.state = UNREADABLE;
        return finding;
    }
    const bool isSame = expected.isSha256 ? now.digests.sha256 == expected.digests.sha256
                                          : now.digests.md5 == expected.digests.md5;
    finding.state = isSame ? UNCHANGED : CHANGED;
    finding.text = isSame ? "" : "content";
    return finding;
}

}  // namespace

int Check(const CommandLine& line) {
    ListReader lists = ReadLists(line);
    if (lists.files.empty())
        throw std::runtime_error("nothing to check");
    const String* const root = line.ValueOf("root");
    const std::string base = root != nullptr ? AbsolutePathOf(*root) : std::string();
    const Descriptor top(open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    AppendStatus("reading the files");
    {
        Progress progress(lists.files.size(), line.Has("quiet"));
        ParallelFor(lists.files.size(), NumberOfThreads(line), [&](std::size_t index) {
            Checked& file = lists.files[index];
            file.finding = Look(file.checksum, base, top);
            progress.Step();
        });
    }
    Report report;
    for (const Checked& file : lists.files)
        report.Add(std::string(), {file.finding}, false);
    report.PrintTotals();
    return report.IsAllUnchanged() && lists.allRead ? STATUS_DONE : STATUS_FAILED;
}
