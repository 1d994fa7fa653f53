#include "entry.h"

#include <algorithm>

#include "messages.h"

namespace {

constexpr const char* KIND_NAMES[] = {"",     "file",   "directory",        "link",
                                      "pipe", "socket", "character device", "block device"};

String ModeText(std::uint16_t mode) {
    String text;
    text.Format("%04o", static_cast<unsigned int>(mode));
    return text;
}

/// Collects differences in one text.
class DifferenceText {
public:
    void Add(const String& difference) { m_Text += (m_Text.empty() ? "" : ", ") + difference; }

    template <class Value>
    void Compare(const char* what, const Value& before, const Value& now) {
        if (before != now)
            Add(String(what) + " " + Shown(before) + " -> " + Shown(now));
    }

    String Text() const { return m_Text; }

private:
    static String Shown(const std::string& text) { return Escaped(text); }
    static String Shown(unsigned __int64 number) { return MultiType(number).GetAs<String>(); }

    String m_Text;
};

void CompareContent(const Entry& before, const Entry& now, DifferenceText& text) {
    if (now.status.kind == FILE_KIND && !IsSameContent(before.digests, now.digests))
        text.Add(IsUnwritten(before.status, now.status) ? "content, but neither size nor time"
                                                        : "content");
    text.Compare("size", before.status.size, now.status.size);
    text.Compare("target", before.target, now.target);
    text.Compare("device", before.status.device, now.status.device);
}

}  // namespace

const char* NameOf(Kind kind) { return KIND_NAMES[kind]; }

bool IsUnwritten(const FileStatus& before, const FileStatus& now) {
    return before.kind == now.kind && before.size == now.size && before.modified == now.modified &&
           before.nanoseconds == now.nanoseconds;
}

String Differences(const Entry& before, const Entry& now, bool contentOnly) {
    DifferenceText text;
    const FileStatus &old = before.status, &current = now.status;
    if (old.kind != current.kind)
        text.Add(String("type ") + NameOf(old.kind) + " -> " + NameOf(current.kind));
    else
        CompareContent(before, now, text);
    if (contentOnly)
        return text.Text();
    if (old.mode != current.mode)
        text.Add("mode " + ModeText(old.mode) + " -> " + ModeText(current.mode));
    text.Compare<unsigned __int64>("owner", old.owner, current.owner);
    text.Compare<unsigned __int64>("group", old.group, current.group);
    return text.Text();
}

const Tree* FindTree(const Catalogue& catalogue, const std::string& path) {
    const auto found = std::find_if(catalogue.begin(), catalogue.end(),
                                    [&](const Tree& tree) { return tree.path == path; });
    return found != catalogue.end() ? &*found : nullptr;
}

std::string Joined(const std::string& base, const std::string& below) {
    if (below.empty() || base.empty())
        return base + below;
    return (base == "/" ? base : base + "/") + below;
}

bool IsWithin(const std::string& path, const std::string& directory) {
    return directory.empty() ||
           (path.compare(0, directory.size(), directory) == 0 &&
            (path.size() == directory.size() || directory == "/" || path[directory.size()] == '/'));
}

std::string Below(const std::string& path, const std::string& directory) {
    return path.size() == directory.size() ? std::string()
                                           : path.substr(Joined(directory, "x").size() - 1);
}
