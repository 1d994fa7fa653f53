#include <cstdio>
#include <stdexcept>

#include "checksums.h"
#include "commands.h"
#include "json.h"
#include "messages.h"
#include "store.h"

namespace {

enum Form { MD5_LINES, SHA256_LINES, JSON_LINES };

Form FormOf(const CommandLine& line) {
    const String* const form = line.ValueOf("format");
    if (form == nullptr || *form == "md5")
        return MD5_LINES;
    if (*form == "sha256")
        return SHA256_LINES;
    if (*form == "json")
        return JSON_LINES;
    throw UsageError("--format " + Escaped(*form) + ": neither md5, sha256 nor json");
}

/// Empty for what has no line in that form.
std::string LineOf(const std::string& path, const Entry& entry, Form form,
                   const ChecksumForm& checksumForm) {
    if (form == JSON_LINES)
        return JsonLine(path, entry) + (checksumForm.endsWithNul ? '\0' : '\n');
    if (entry.status.kind != FILE_KIND)
        return std::string();
    if (form == SHA256_LINES && !entry.digests.hasSha256)
        throw std::runtime_error(Escaped(path) +
                                 ": has no SHA-256 digest; scan with --sha256 --full");
    return ChecksumLine(path, entry.digests, checksumForm);
}

}  // namespace

int Export(const CommandLine& line) {
    const Form form = FormOf(line);
    const Store store(StoreOf(line));
    const ChecksumForm checksumForm{form == SHA256_LINES, line.Has("tag"), line.Has("zero")};
    for (const Tree& tree : store.Content()) {
        const std::string base = line.Has("relative") ? std::string() : tree.path;
        for (const Entry& entry : tree.entries) {
            const std::string path = Joined(base, entry.path);
            PrintText(LineOf(path.empty() ? "." : path, entry, form, checksumForm));
        }
    }
    return STATUS_DONE;
}
