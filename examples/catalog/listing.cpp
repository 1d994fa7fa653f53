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

void Listing::Add(const std::string& path, const Entry& entry) {
    const FileStatus& status = entry.status;
    Row row;
    row.reserve(7);
    if (m_IsLong)
        row = {ModeOf(status), m_Users.Of(status.owner), m_Groups.Of(status.group)};
    const bool isLink = status.kind == LINK_KIND;
    row.emplace_back(isLink ? String(Escaped(path) + " -> " + Escaped(entry.target))
                            : Escaped(path));
    row.emplace_back(status.size);
    row.emplace_back(m_Times.Shown(status.modified));
    if (status.kind != FILE_KIND)
        row.emplace_back(NameOf(status.kind));
    else if (!m_HasSha256)
        row.emplace_back(HexOf(entry.digests.md5));
    else
        row.emplace_back(entry.digests.hasSha256 ? HexOf(entry.digests.sha256) : String("-"));
    m_Table.Add(std::move(row));
    m_Files += status.kind == FILE_KIND ? 1 : 0;
    m_Bytes += status.size;
}

void Listing::Print() const {
    m_Table.Print();
    PrintLine(CountOf(m_Files, "file") + ", " + CountOf(m_Bytes, "byte"));
}
