#include "messages.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cwchar>
#include <cwctype>
#include <system_error>

namespace {

String EscapedByte(char byte) {
    switch (byte) {
        case '\n':
            return "\\n";
        case '\t':
            return "\\t";
        case '\\':
            return "\\\\";
        default:
            String code;
            code.Format("\\x%02x", static_cast<unsigned char>(byte));
            return code;
    }
}

void CheckOutput(bool written) {
    if (!written)
        throw std::system_error(errno, std::generic_category(), "standard output");
}

}  // namespace

String Escaped(const std::string& name) {
    const bool isPlain = std::all_of(name.begin(), name.end(), [](char byte) {
        return byte >= ' ' && byte <= '~' && byte != '\\';
    });
    if (isPlain)  // Most are.
        return name;
    String shown;
    std::mbstate_t state{};
    for (std::size_t at = 0, length = 0; at < name.size(); at += length) {
        wchar_t character = L'\0';
        length = std::mbrtowc(&character, &name[at], name.size() - at, &state);
        const bool isCharacter = length != 0 && length <= name.size() - at;
        if (!isCharacter) {
            length = 1;
            state = {};
        }
        if (isCharacter && character != L'\\' && std::iswprint(static_cast<wint_t>(character)))
            shown.append(name, at, length);
        else
            for (std::size_t i = 0; i < length; ++i)
                shown += EscapedByte(name[at + i]);
    }
    return shown;
}

String ReasonOf(int error) { return std::generic_category().message(error); }

String CountOf(unsigned __int64 number, const char* thing) {
    return MultiType(number).GetAs<String>() + " " + thing + (number == 1 ? "" : "s");
}

void PrintError(const std::string& path, const std::string& reason) {
    std::fprintf(stderr, "%s: %s: %s\n", program_invocation_short_name, Escaped(path).c_str(),
                 reason.c_str());
}

void PrintText(const std::string& text) {
    CheckOutput(std::fwrite(text.data(), 1, text.size(), stdout) == text.size());
}

void PrintLine(const String& line) { PrintText(line + "\n"); }

void FinishOutput() { CheckOutput(std::fflush(stdout) == 0); }
