#include "checksums.h"

#include <string_view>

namespace {

struct Escape {
    char byte, letter;
};
constexpr Escape ESCAPES[] = {{'\\', '\\'}, {'\n', 'n'}, {'\r', 'r'}};

std::string WithEscapes(const std::string& name) {
    std::string escaped;
    for (const char byte : name) {
        char letter = '\0';
        for (const Escape& escape : ESCAPES)
            letter = escape.byte == byte ? escape.letter : letter;
        escaped += letter != '\0' ? std::string{'\\', letter} : std::string(1, byte);
    }
    return escaped;
}

/// False for an escape that doesn't exist.
bool RemoveEscapes(std::string& name) {
    std::string plain;
    for (std::size_t at = 0; at < name.size(); ++at) {
        if (name[at] != '\\') {
            plain += name[at];
            continue;
        }
        const char letter = ++at < name.size() ? name[at] : '\0';
        const std::size_t before = plain.size();
        for (const Escape& escape : ESCAPES) {
            if (escape.letter == letter)
                plain += escape.byte;
        }
        if (plain.size() == before)
            return false;
    }
    name = plain;
    return true;
}

bool SetDigest(const std::string& hex, Checksum& checksum) {
    Digests& digests = checksum.digests;
    digests.hasSha256 = checksum.isSha256;
    return checksum.isSha256 ? ReadHex(hex, digests.sha256.data(), digests.sha256.size())
                             : ReadHex(hex, digests.md5.data(), digests.md5.size());
}

/// "MD5 (name) = digest"; a name may have brackets and blanks.
bool ReadTagged(const std::string& line, Checksum& checksum) {
    constexpr std::string_view MD5_TAG = "MD5 (", SHA256_TAG = "SHA256 (", END = ") = ";
    checksum.isSha256 = line.starts_with(SHA256_TAG);
    const std::size_t start = (checksum.isSha256 ? SHA256_TAG : MD5_TAG).size();
    const std::size_t end = line.rfind(END);
    if ((!checksum.isSha256 && !line.starts_with(MD5_TAG)) || end == line.npos || end < start)
        return false;
    checksum.name = line.substr(start, end - start);
    return SetDigest(line.substr(end + END.size()), checksum);
}

/// "digest  name", or with a star instead of the second blank.
bool ReadPlain(const std::string& line, Checksum& checksum) {
    const std::size_t end = line.find(' ');
    if (end == line.npos || end + 2 >= line.size() ||
        (line[end + 1] != ' ' && line[end + 1] != '*'))
        return false;
    checksum.isSha256 = end == 2 * checksum.digests.sha256.size();
    checksum.name = line.substr(end + 2);
    return SetDigest(line.substr(0, end), checksum);
}

}  // namespace

std::string ChecksumLine(const std::string& name, const Digests& digests,
                         const ChecksumForm& form) {
    const std::string shown = form.endsWithNul ? name : WithEscapes(name);
    const std::string hex = form.isSha256 ? HexOf(digests.sha256) : HexOf(digests.md5);
    std::string line = shown != name ? "\\" : "";
    if (form.isTagged)
        line += (form.isSha256 ? "SHA256 (" : "MD5 (") + shown + ") = " + hex;
    else
        line += hex + "  " + shown;
    return line + (form.endsWithNul ? '\0' : '\n');
}

std::optional<Checksum> ReadChecksumLine(const std::string& line, bool endsWithNul) {
    Checksum checksum;
    const bool isEscaped = !endsWithNul && line.starts_with('\\');
    const std::string rest = isEscaped ? line.substr(1) : line;
    const bool isRead = ReadTagged(rest, checksum) || ReadPlain(rest, checksum);
    if (!isRead || (isEscaped && !RemoveEscapes(checksum.name)) || checksum.name.empty())
        return std::nullopt;
    return checksum;
}
