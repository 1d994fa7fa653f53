#include "record.h"

#include <cstring>

namespace {

enum Flag : unsigned char { HAS_SHA256 = 1, IS_LISTED = 2 };
constexpr std::uint16_t MOST_MODE = 07777;
constexpr std::uint32_t NANOSECONDS_PER_SECOND = 1'000'000'000;

void Write(const Entry& entry, std::string& flat) {
    FieldWriter fields(flat);
    const FileStatus& status = entry.status;
    fields.Write(static_cast<unsigned char>(status.kind));
    fields.Write(static_cast<unsigned char>(entry.digests.hasSha256 ? HAS_SHA256 : 0));
    fields.Write(status.mode);
    fields.Write(status.owner);
    fields.Write(status.group);
    fields.Write(status.size);
    fields.Write(status.modified);
    fields.Write(status.nanoseconds);
    fields.Write(status.device);
    flat.append(entry.digests.md5.data(), entry.digests.md5.size());
    if (entry.digests.hasSha256)
        flat.append(entry.digests.sha256.data(), entry.digests.sha256.size());
    fields.WriteText(entry.path);
    fields.WriteText(entry.target);
}

void Write(const Tree& tree, std::string& flat) {
    FieldWriter fields(flat);
    fields.Write(static_cast<unsigned char>((tree.hasSha256 ? HAS_SHA256 : 0) |
                                            (tree.isListed ? IS_LISTED : 0)));
    fields.Write(tree.scan);
    fields.Write(tree.scanned);
    fields.WriteText(tree.path);
    fields.Write(static_cast<unsigned int>(tree.excluded.size()));
    for (const std::string& pattern : tree.excluded)
        fields.WriteText(pattern);
    fields.Write(static_cast<unsigned __int64>(tree.entries.size()));
    for (const Entry& entry : tree.entries)
        Write(entry, flat);
}

/// False if a field has no meaning.
bool Read(FieldReader& fields, Entry& entry) {
    FileStatus& status = entry.status;
    const auto kind = fields.Read<unsigned char>();
    const auto flags = fields.Read<unsigned char>();
    status.kind = static_cast<Kind>(kind);
    status.mode = fields.Read<std::uint16_t>();
    status.owner = fields.Read<std::uint32_t>();
    status.group = fields.Read<std::uint32_t>();
    status.size = fields.Read<unsigned __int64>();
    status.modified = fields.Read<__int64>();
    status.nanoseconds = fields.Read<std::uint32_t>();
    status.device = fields.Read<unsigned __int64>();
    fields.ReadBytes(entry.digests.md5.data(), entry.digests.md5.size());
    entry.digests.hasSha256 = flags == HAS_SHA256;
    if (entry.digests.hasSha256)
        fields.ReadBytes(entry.digests.sha256.data(), entry.digests.sha256.size());
    entry.path = fields.ReadText();
    entry.target = fields.ReadText();
    return !fields.HasFailed() && kind >= FILE_KIND && kind <= BLOCK_DEVICE_KIND &&
           flags <= HAS_SHA256 && status.mode <= MOST_MODE &&
           status.nanoseconds < NANOSECONDS_PER_SECOND &&
           entry.path.find('\0') == std::string::npos;
}

bool Read(FieldReader& fields, Tree& tree) {
    const auto flags = fields.Read<unsigned char>();
    tree.hasSha256 = (flags & HAS_SHA256) != 0;
    tree.isListed = (flags & IS_LISTED) != 0;
    tree.scan = fields.Read<unsigned __int64>();
    tree.scanned = fields.Read<__int64>();
    tree.path = fields.ReadText();
    const auto patterns = fields.Read<unsigned int>();
    for (unsigned int i = 0; i < patterns && !fields.HasFailed(); ++i)
        tree.excluded.push_back(fields.ReadText());
    const auto entries = fields.Read<unsigned __int64>();
    if (fields.HasFailed() || flags > (HAS_SHA256 | IS_LISTED) || tree.path.empty())
        return false;
    for (unsigned __int64 i = 0; i < entries; ++i) {
        Entry& entry = tree.entries.emplace_back();
        if (!Read(fields, entry) ||
            (i > 0 && entry.path <= tree.entries[static_cast<std::size_t>(i - 1)].path))
            return false;
    }
    return true;
}

}  // namespace

std::string Flattened(const Catalogue& catalogue) {
    std::string flat;
    for (const Tree& tree : catalogue)
        Write(tree, flat);
    return flat;
}

bool ReadFlat(const std::string& flat, Catalogue& catalogue) {
    FieldReader fields(flat.data(), flat.size());
    while (!fields.IsAtEnd()) {
        Tree tree;
        if (!Read(fields, tree) || (!catalogue.empty() && tree.path <= catalogue.back().path))
            return false;
        catalogue.push_back(std::move(tree));
    }
    return true;
}

unsigned __int64 CountEntries(const Catalogue& catalogue) {
    unsigned __int64 count = catalogue.size();
    for (const Tree& tree : catalogue)
        count += tree.entries.size();
    return count;
}

void FieldWriter::WriteText(const std::string& text) {
    Write(static_cast<unsigned int>(text.size()));
    m_Target += text;
}

std::string FieldReader::ReadText() {
    const auto size = Read<unsigned int>();
    const char* const text = Take(size);
    return text != nullptr ? std::string(text, size) : std::string();
}

void FieldReader::ReadBytes(char* target, std::size_t size) {
    if (const char* const bytes = Take(size))
        std::memcpy(target, bytes, size);
}
