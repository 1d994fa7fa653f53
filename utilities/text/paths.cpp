#include <fstream>

#include "utilities/frame/assert_internal.h"
#include "utilities/platform/pathparts.h"
#include "utilities/text/qelstring.h"

namespace {

constexpr char ASSERT_MODULE[] = ".\\qelstring";

template <class Char>
using Text = std::basic_string<Char>;

void Split(const char* path, platform::PathParts<char>& parts) {
    platform::_splitpath(path, parts);
}
void Split(const WideChar* path, platform::PathParts<WideChar>& parts) {
    platform::_wsplitpath(path, parts);
}

template <class Char>
int ExtensionDot(const Text<Char>& path) {
    const std::size_t dot = path.rfind(Char('.'));
    if (dot == Text<Char>::npos || path.find(Char('/'), dot) != Text<Char>::npos ||
        path.find(Char('\\'), dot) != Text<Char>::npos)
        return -1;
    return static_cast<int>(dot);
}

template <class Char>
Text<Char> Extension(const Text<Char>& path) {
    const int dot = ExtensionDot(path);
    return dot < 0 ? Text<Char>() : path.substr(static_cast<std::size_t>(dot) + 1);
}

/// `extension` is a text of its own: what the caller points to may be part of `path`.
template <class Char>
void ChangeExtension(Text<Char>& path, const Text<Char>& extension) {
    const int dot = ExtensionDot(path);
    if (dot >= 0)
        path.erase(static_cast<std::size_t>(dot));
    if ((extension.empty() || extension.front() != Char('.')) &&
        (path.empty() || path.back() != Char('.')))
        path += Char('.');
    path += extension;
}

/// Replaces what stands behind the separator. They are looked for in order of preference, wherever
/// they stand.
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
    platform::PathParts<Char> parts;
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

/// What is left of `text` without its first `word`; false where that doesn't occur.
bool Remove(std::string& text, const char* word) {
    const std::size_t position = text.find(word);
    if (position == std::string::npos)
        return false;
    text.erase(position, std::char_traits<char>::length(word));
    return true;
}

}  // namespace

int String::GetExtDotPos() const { return ExtensionDot<char>(*this); }
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
    char path[platform::PATH_CAPACITY];
    platform::_makepath(path, drive.c_str(), directory.c_str(), name.c_str(), extension.c_str());
    assign(path);
}

void String::SetTerminationChar(char c) { Terminate<char>(*this, c); }

String String::RemoveDriveAndDir(const String& path) {
    platform::PathParts<char> parts;
    Split(path.c_str(), parts);
    return String(parts.name) += parts.extension;
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

int WString::GetExtDotPos() const { return ExtensionDot<WideChar>(*this); }
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
    WideChar path[platform::PATH_CAPACITY];
    platform::_wmakepath(path, drive.c_str(), directory.c_str(), name.c_str(), extension.c_str());
    assign(path);
}

void WString::SetTerminationChar(WideChar c) { Terminate<WideChar>(*this, c); }
