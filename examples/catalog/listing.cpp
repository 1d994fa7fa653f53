#include "listing.h"

#include "messages.h"

namespace {

/// As in "drwxr-xr-x".
String ModeOf(const FileStatus& status) {
    constexpr char KINDS[] = "?-dlpscb", RIGHTS[] = "rwxrwxrwx";
    struct Special {
        unsigned int bit;
        std::size_t place;
        char withRight, without;
    };
    constexpr Special SPECIALS[] = {
        {04000, 3, 's', 'S'}, {02000, 6, 's', 'S'}, {01000, 9, 't', 'T'}};
    std::string mode(1, KINDS[status.kind]);
    for (std::size_t right = 0; right < 9; ++right)
        mode += (status.mode >> (8 - right) & 1) != 0 ? RIGHTS[right] : '-';
    for (const Special& special : SPECIALS) {
        if ((status.mode & special.bit) != 0)
            mode[special.place] = mode[special.place] == 'x' ? special.withRight : special.without;
    }
    return String(mode);
}

}  // namespace

Listing::Listing(const CommandLine& line)
    : m_Times(line), m_IsLong(line.Has("long")), m_HasSha256(line.Has("sha256")) {}

void Listing::Print(const Source& source) {
    Table table;
    unsigned __int64 files = 0, bytes = 0;
    source([&](const std::string& path, const Entry& entry) {
        table.Measure(RowOf(path, entry));
        files += entry.status.kind == FILE_KIND ? 1 : 0;
        bytes += entry.status.size;
    });
    source([&](const std::string& path, const Entry& entry) {
        PrintLine(table.Line(RowOf(path, entry)));
    });
    PrintLine(CountOf(files, "file") + ", " + CountOf(bytes, "byte"));
}

Row Listing::RowOf(const std::string& path, const Entry& entry) {
    const FileStatus& status = entry.status;
    Row row;
    if (m_IsLong)
        row = {ModeOf(status), m_Users.Of(status.owner), m_Groups.Of(status.group)};
    const bool isLink = status.kind == LINK_KIND;
    row.push_back(isLink ? String(Escaped(path) + " -> " + Escaped(entry.target)) : Escaped(path));
    row.push_back(status.size);
    row.push_back(m_Times.Shown(status.modified));
    if (status.kind != FILE_KIND)
        row.push_back(NameOf(status.kind));
    else if (!m_HasSha256)
        row.push_back(HexOf(entry.digests.md5));
    else
        row.push_back(entry.digests.hasSha256 ? HexOf(entry.digests.sha256) : String("-"));
    return row;
}
