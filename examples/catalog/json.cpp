#include "json.h"

#include <charconv>

#include "dates.h"

namespace {

/// The length of the UTF-8 sequence that `text` has at `at`; 0 if there is none that is valid.
std::size_t SequenceAt(const std::string& text, std::size_t at) {
    const auto byteAt = [&](std::size_t place) {
        return place < text.size() ? static_cast<unsigned char>(text[place]) : 0U;
    };
    const unsigned int first = byteAt(at), second = byteAt(at + 1);
    if (first < 0x80)
        return 1;
    const std::size_t length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    // No longer forms than needed, no surrogates, nothing above U+10FFFF.
    if (first > 0xF4 || (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
        (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F))
        return 0;
    for (std::size_t next = 1; next < length; ++next) {
        if ((byteAt(at + next) & 0xC0) != 0x80)
            return 0;
    }
    return length;
}

/// A byte that belongs to no character becomes the second half of a surrogate pair, alone, as other
/// programs do it too: no byte is lost, and no character stands for it.
constexpr unsigned int LONE_BYTES = 0xDC00;

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (std::size_t at = 0, length = 0; at < text.size(); at += std::max<std::size_t>(length, 1)) {
        const auto byte = static_cast<unsigned char>(text[at]);
        length = SequenceAt(text, at);
        String code;
        if (length == 0)
            code.Format("\\u%04x", LONE_BYTES + byte);
        else if (byte < 0x20 || byte == 0x7F)
            code.Format("\\u%04x", static_cast<unsigned int>(byte));
        else if (byte == '"' || byte == '\\')
            code = std::string{'\\', text[at]};
        else
            code = text.substr(at, length);
        quoted += code;
    }
    return quoted + "\"";
}

/// Writes members one after the other.
class ObjectWriter {
public:
    void Text(const char* name, const std::string& value) { Add(name, Quoted(value)); }
    void Number(const char* name, unsigned __int64 value) { Add(name, std::to_string(value)); }
    std::string Line() const { return m_Line + "}"; }

private:
    void Add(const char* name, const std::string& value) {
        m_Line += (m_Line.size() > 1 ? ",\"" : "\"") + std::string(name) + "\":" + value;
    }

    std::string m_Line = "{";
};

void AppendUtf8(unsigned int code, std::string& text) {
    if (code >= LONE_BYTES + 0x80 && code <= LONE_BYTES + 0xFF) {
        text += static_cast<char>(code - LONE_BYTES);
    } else if (code < 0x80) {
        text += static_cast<char>(code);
    } else {
        const int more = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
        constexpr unsigned int LEADS[] = {0, 0xC0, 0xE0, 0xF0};
        text += static_cast<char>(LEADS[more] | (code >> (6 * more)));
        for (int rest = more - 1; rest >= 0; --rest)
            text += static_cast<char>(0x80 | ((code >> (6 * rest)) & 0x3F));
    }
}

class ObjectReader {
public:
    explicit ObjectReader(const std::string& line) : m_Line(line) {}

    bool Read(std::map<std::string, std::string>& members) {
        if (!Take('{'))
            return false;
        if (Take('}'))
            return IsAtEnd();
        do {
            std::string name, value;
            if (!ReadText(name) || !Take(':') || !ReadValue(value))
                return false;
            members[name] = value;
        } while (Take(','));
        return Take('}') && IsAtEnd();
    }

private:
    void SkipBlanks() { m_At = std::min(m_Line.find_first_not_of(" \t\r", m_At), m_Line.size()); }

    bool IsAtEnd() {
        SkipBlanks();
        return m_At == m_Line.size();
    }

    bool Take(char wanted) {
        SkipBlanks();
        const bool isThere = m_At < m_Line.size() && m_Line[m_At] == wanted;
        m_At += isThere ? 1 : 0;
        return isThere;
    }

    bool ReadValue(std::string& value) {
        SkipBlanks();
        if (m_At < m_Line.size() && m_Line[m_At] == '"')
            return ReadText(value);
        const std::size_t end = std::min(m_Line.find_first_of(",}[{\" ", m_At), m_Line.size());
        value = m_Line.substr(m_At, end - m_At);
        m_At = end;
        return !value.empty();
    }

    bool ReadText(std::string& text) {
        if (!Take('"'))
            return false;
        while (m_At < m_Line.size() && m_Line[m_At] != '"') {
            if (m_Line[m_At] != '\\')
                text += m_Line[m_At++];
            else if (!ReadEscape(text))
                return false;
        }
        return m_At++ < m_Line.size();
    }

    bool ReadEscape(std::string& text) {
        constexpr std::string_view LETTERS = "\"\\/bfnrt", BYTES = "\"\\/\b\f\n\r\t";
        const char letter = m_At + 1 < m_Line.size() ? m_Line[m_At + 1] : '\0';
        if (letter == 'u')
            return ReadCode(text);
        const std::size_t place = LETTERS.find(letter);
        if (place == LETTERS.npos)
            return false;
        text += BYTES[place];
        m_At += 2;
        return true;
    }

    bool ReadCode(std::string& text) {
        unsigned int code = 0, second = 0;
        if (!ReadUnit(code))
            return false;
        if (code >= 0xD800 && code < 0xDC00) {
            if (!ReadUnit(second) || second < 0xDC00 || second > 0xDFFF)
                return false;
            code = 0x10000 + ((code - 0xD800) << 10) + (second - 0xDC00);
        }
        AppendUtf8(code, text);
        return true;
    }

    bool ReadUnit(unsigned int& unit) {
        if (m_Line.compare(m_At, 2, "\\u") != 0 || m_At + 6 > m_Line.size())
            return false;
        const char* const digits = &m_Line[m_At + 2];
        const auto [end, error] = std::from_chars(digits, digits + 4, unit, 16);
        m_At += 6;
        return error == std::errc() && end == digits + 4;
    }

    const std::string& m_Line;
    std::size_t m_At = 0;
};

}  // namespace

std::string JsonLine(const std::string& path, const Entry& entry) {
    const FileStatus& status = entry.status;
    ObjectWriter object;
    String mode;
    mode.Format("%04o", static_cast<unsigned int>(status.mode));
    object.Text("path", path);
    object.Text("type", NameOf(status.kind));
    object.Text("mode", mode);
    object.Number("owner", status.owner);
    object.Number("group", status.group);
    object.Text("modified", UniversalTime(status.modified, status.nanoseconds));
    if (status.kind == FILE_KIND) {
        object.Number("size", status.size);
        object.Text("md5", HexOf(entry.digests.md5));
        if (entry.digests.hasSha256)
            object.Text("sha256", HexOf(entry.digests.sha256));
    } else if (status.kind == LINK_KIND) {
        object.Text("target", entry.target);
    } else if (status.device != 0) {
        object.Number("device", status.device);
    }
    return object.Line();
}

std::optional<std::map<std::string, std::string>> ReadJsonLine(const std::string& line) {
    std::map<std::string, std::string> members;
    return ObjectReader(line).Read(members) ? std::optional(members) : std::nullopt;
}
