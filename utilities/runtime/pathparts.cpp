#include "utilities/runtime/pathparts.h"

#include <algorithm>
#include <string_view>

namespace runtime {

namespace {

template <class Char>
using View = std::basic_string_view<Char>;

template <class Char>
constexpr Char SEPARATORS[] = {'/', '\\', '\0'};

template <class Char, std::size_t Capacity>
void CopyPart(Char (&out)[Capacity], View<Char> part) {
    const std::size_t length = part.copy(out, Capacity - 1);
    out[length] = Char();
}

template <class Char>
void Split(View<Char> path, PathParts<Char>& parts) {
    const std::size_t drive = path.size() >= 2 && path[1] == Char(':') ? 2 : 0;
    CopyPart(parts.drive, path.substr(0, drive));
    path.remove_prefix(drive);
    const std::size_t directory = path.find_last_of(SEPARATORS<Char>) + 1;
    CopyPart(parts.directory, path.substr(0, directory));
    path.remove_prefix(directory);
    const std::size_t extension = std::min(path.rfind(Char('.')), path.size());
    CopyPart(parts.name, path.substr(0, extension));
    CopyPart(parts.extension, path.substr(extension));
}

/// Fills a path from its start. A part that does not fit makes the whole path empty.
template <class Char>
class PathWriter {
public:
    explicit PathWriter(Char (&out)[PATH_CAPACITY]) : m_Path(out) {}
    ~PathWriter() { m_Path[m_Fits ? m_Length : 0] = Char(); }
    PathWriter(const PathWriter&) = delete;
    PathWriter& operator=(const PathWriter&) = delete;

    void Add(View<Char> part) {
        m_Fits = m_Fits && part.size() < PATH_CAPACITY - m_Length;
        if (m_Fits)
            m_Length += part.copy(m_Path + m_Length, part.size());
    }
    void Add(Char c) { Add(View<Char>(&c, 1)); }

private:
    Char (&m_Path)[PATH_CAPACITY];
    std::size_t m_Length = 0;
    bool m_Fits = true;
};

template <class Char>
void Make(Char (&path)[PATH_CAPACITY], View<Char> drive, View<Char> directory, View<Char> name,
          View<Char> extension) {
    PathWriter<Char> writer(path);
    writer.Add(drive);
    if (!drive.empty() && drive.back() != Char(':'))
        writer.Add(Char(':'));
    writer.Add(directory);
    if (!directory.empty() &&
        View<Char>(SEPARATORS<Char>).find(directory.back()) == View<Char>::npos)
        writer.Add(Char('\\'));
    writer.Add(name);
    if (!extension.empty() && extension.front() != Char('.'))
        writer.Add(Char('.'));
    writer.Add(extension);
}

}  // namespace

void _splitpath(const char* path, PathParts<char>& parts) { Split<char>(path, parts); }
void _wsplitpath(const WideChar* path, PathParts<WideChar>& parts) { Split<WideChar>(path, parts); }

void _makepath(char (&path)[PATH_CAPACITY], const char* drive, const char* directory,
               const char* name, const char* extension) {
    Make<char>(path, drive, directory, name, extension);
}
void _wmakepath(WideChar (&path)[PATH_CAPACITY], const WideChar* drive, const WideChar* directory,
                const WideChar* name, const WideChar* extension) {
    Make<WideChar>(path, drive, directory, name, extension);
}

}  // namespace runtime
