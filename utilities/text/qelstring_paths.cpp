#include "utilities/text/qelstring.h"

#include <fstream>

#include "utilities/frame/assert_internal.h"
#include "utilities/runtime/pathparts.h"

// The operations on a text as a path, on revision tags and on word files.

namespace {

constexpr char ASSERT_MODULE[] = ".\\qelstring";

template <class Char>
using Text = std::basic_string<Char>;

void Split(const char* path, runtime::PathParts<char>& parts) { runtime::_splitpath(path, parts); }
void Split(const WideChar* path, runtime::PathParts<WideChar>& parts) {
    runtime::_wsplitpath(path, parts);
}

/// The position of the dot that begins the extension, or `npos`.
template <class Char>
std::size_t ExtensionDot(const Text<Char>& path) {
    constexpr Char SEPARATORS[] = {'/', '\\', '\0'};
    const std::size_t dot = path.rfind(Char('.'));
    const bool inDirectory =
        dot != Text<Char>::npos && path.find_first_of(SEPARATORS, dot) != Text<Char>::npos;
    return inDirectory ? Text<Char>::npos : dot;
}

template <class Char>
Text<Char> Extension(const Text<Char>& path) {
    const std::size_t dot = ExtensionDot(path);
    return dot == Text<Char>::npos ? Text<Char>() : path.substr(dot + 1);
}

/// `extension` is a copy, as the caller's pointer may lead into `path`.
template <class Char>
void ChangeExtension(Text<Char>& path, const Text<Char>& extension) {
    const std::size_t dot = ExtensionDot(path);
    if (dot != Text<Char>::npos)
        path.erase(dot);
    if ((extension.empty() || extension.front() != Char('.')) &&
        (path.empty() || path.back() != Char('.')))
        path += Char('.');
    path += extension;
}

/// Replaces what follows the separator. The kinds are tried in order of preference: a `/` anywhere
/// counts before a `\` and that before a `:`.
template <class Char>
void ChangeFilename(Text<Char>& path, const Text<Char>& name) {
    std::size_t start = 0;
    for (const Char separator : {Char('/'), Char('\\'), Char(':')}) {
        start = path.rfind(separator) + 1;
        if (start > 0)
            break;
    }
    path.replace(start, Text<Char>::npos, name);
}

template <class Char>
void SplitInto(const Text<Char>& path, Text<Char>* drive, Text<Char>* directory, Text<Char>* name,
               Text<Char>* extension) {
    runtime::PathParts<Char> parts;
    Split(path.c_str(), parts);
    const auto assign = [](Text<Char>* out, const Char* part) {
        if (out != nullptr)
            *out = part;
    };
    assign(drive, parts.drive);
    assign(directory, parts.directory);
    assign(name, parts.name);
    assign(extension, parts.extension);
}

template <class Char>
void Terminate(Text<Char>& text, Char c) {
    if (text.empty() || text.back() != c)
        text += c;
}

/// Removes the first `word` from `text`; false if it doesn't occur.
bool Remove(std::string& text, const char* word) {
    const std::size_t position = text.find(word);
    if (position == std::string::npos)
        return false;
    text.erase(position, std::char_traits<char>::length(word));
    return true;
}

}  // namespace

int String::GetExtDotPos() const { return static_cast<int>(ExtensionDot<char>(*this)); }
String String::GetExtension() const { return Extension<char>(*this); }
void String::SetExtension(const char* extension) { ChangeExtension<char>(*this, extension); }
void String::SetFilename(const char* name) { ChangeFilename<char>(*this, name); }

void String::SplitPath(std::basic_string<char>* drive, std::basic_string<char>* directory,
                       std::basic_string<char>* name, std::basic_string<char>* extension) const {
    SplitInto<char>(*this, drive, directory, name, extension);
}

void String::MakePath(const std::basic_string<char>& drive,
                      const std::basic_string<char>& directory, const std::basic_string<char>& name,
                      const std::basic_string<char>& extension) {
    char path[runtime::PATH_CAPACITY];
    runtime::_makepath(path, drive.c_str(), directory.c_str(), name.c_str(), extension.c_str());
    assign(path);
}

void String::SetTerminationChar(char c) { Terminate<char>(*this, c); }

String String::RemoveDriveAndDir(const String& path) {
    runtime::PathParts<char> parts;
    Split(path.c_str(), parts);
    String result(parts.name);
    result += parts.extension;
    return result;
}

void String::StripOffTagNameAndDollarSigns() {
    constexpr std::size_t LONGEST_WITHOUT_LABEL = 7;
    if (size() <= LONGEST_WITHOUT_LABEL || !Remove(*this, "$Name:") || !Remove(*this, "$")) {
        assign("<no label>");
        return;
    }
    LTrim();
    RTrim();
}

bool String::FromAsciiFile(std::basic_fstream<char>& fs) {
    std::string word;
    while (fs >> word)
        append(word) += '\n';
    ASSERT(!fs.bad());
    return !fs.bad();
}

int WString::GetExtDotPos() const { return static_cast<int>(ExtensionDot<WideChar>(*this)); }
WString WString::GetExtension() const { return Extension<WideChar>(*this); }
void WString::SetExtension(const WideChar* extension) {
    ChangeExtension<WideChar>(*this, extension);
}
void WString::SetFilename(const WideChar* name) { ChangeFilename<WideChar>(*this, name); }

void WString::SplitPath(std::basic_string<WideChar>* drive, std::basic_string<WideChar>* directory,
                        std::basic_string<WideChar>* name,
                        std::basic_string<WideChar>* extension) const {
    SplitInto<WideChar>(*this, drive, directory, name, extension);
}

void WString::MakePath(const std::basic_string<WideChar>& drive,
                       const std::basic_string<WideChar>& directory,
                       const std::basic_string<WideChar>& name,
                       const std::basic_string<WideChar>& extension) {
    WideChar path[runtime::PATH_CAPACITY];
    runtime::_wmakepath(path, drive.c_str(), directory.c_str(), name.c_str(), extension.c_str());
    assign(path);
}

void WString::SetTerminationChar(WideChar c) { Terminate<WideChar>(*this, c); }
