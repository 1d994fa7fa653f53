#include "utilities/services/filefunctions.h"

#include <string>

#include "utilities/frame/assert_internal.h"
#include "utilities/frame/errno_internal.h"
#include "utilities/platform/descriptors.h"
#include "utilities/platform/directories.h"
#include "utilities/platform/files.h"

namespace {

constexpr char ASSERT_MODULE[] = ".\\utilityfunctions";  // The module's name, not the file's.

constexpr std::pair<int, int> UNKNOWN_IDS{-1, -1};

std::string WithoutLastSeparator(const char* path) {
    std::string trimmed(path);
    if (!trimmed.empty() && (trimmed.back() == '\\' || trimmed.back() == '/'))
        trimmed.pop_back();
    return trimmed;
}

bool CreateEmpty(const char* path) {
    const int file = platform::_open(path, platform::_O_CREAT | platform::_O_TRUNC,
                                     platform::_S_IREAD | platform::_S_IWRITE);
    if (file == -1)
        return false;
    platform::CloseUnchecked(file);
    return true;
}

}  // namespace

bool CREAT(const char* path, unsigned short, int, int) { return CreateEmpty(path); }

bool CREAT(const char* path, unsigned short, std::pair<int, int>) { return CreateEmpty(path); }

bool CREAT(const char* path, unsigned short, const char*) { return CreateEmpty(path); }

int MKDIR(const char* path, unsigned short, int, int) { return platform::_mkdir(path); }

void CHMOD(const char*, const char*) {}

// `info` is written also after a failure, as it is documented.
bool IsFileExisting(const char* path, struct _stat* info) {
    struct _stat status {};
    const bool exists = platform::_stat(WithoutLastSeparator(path).c_str(), &status) == 0;
    if (info != nullptr)
        *info = status;
    return exists;
}

bool IsDirectoryExisting(const char* path) {
    struct _stat status;
    return IsFileExisting(path, &status) && (S_ISDIR(status.st_mode) || FailWith(ENOTDIR));
}

int RemoveFile(const char* path) { return platform::remove(WithoutLastSeparator(path).c_str()); }

bool AssureFileRemoved(const char* path, bool* existed) {
    const bool exists = IsFileExisting(path, nullptr);
    bool retval = true;
    if (exists) {
        retval = RemoveFile(path) == 0;
        ASSERT(retval);
    }
    if (existed != nullptr)
        *existed = exists;
    return retval;
}

long getFileMtime(const char* path) {
    struct _stat status;
    return platform::_stat(path, &status) == 0 ? status.st_mtime : 0;
}

std::pair<int, int> getFileUidGid(const char* path) {
    struct _stat status;
    if (platform::_stat(path, &status) != 0)
        return UNKNOWN_IDS;
    return {static_cast<int>(status.st_uid), static_cast<int>(status.st_gid)};
}

std::pair<int, int> getUserUidGid(const char*) { return UNKNOWN_IDS; }
