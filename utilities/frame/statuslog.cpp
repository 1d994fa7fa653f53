#include "utilities/frame/statuslog.h"

#include <cstdio>
#include <cstring>

#include "utilities/frame/static_objects_internal.h"
#include "utilities/platform/files.h"

namespace {

/// Opens the current file in `mode`, writes `head` and then `text`, and closes it.
void WriteStatus(const char* mode, const char* head, const char* text, std::size_t length) {
    std::FILE* file = platform::fopen(STATUS_LOG_CURRENT, mode);
    if (file == nullptr)
        return;
    std::fwrite(head, 1, std::strlen(head), file);
    std::fwrite(text, 1, length, file);
    std::fclose(file);
}

}  // namespace

void VYStatusLogStart() {
    struct _stat status;
    if (platform::_stat(STATUS_LOG_CURRENT, &status) == 0)
        platform::rename(STATUS_LOG_CURRENT, STATUS_LOG_LAST_STOP);
    static constexpr char START[] = "Start";
    WriteStatus("w", "", START, sizeof START);
}

void VYStatusLogWrite(const char* text) { WriteStatus("w", "", text, std::strlen(text)); }

void VYStatusLogAppend(const char* text) { WriteStatus("a", "\n", text, std::strlen(text)); }
