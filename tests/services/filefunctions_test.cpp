#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "tests/support/compression.h"
#include "utilities/services/filefunctions.h"

namespace {

using FileFunctions = ScratchFolder;

TEST_F(FileFunctions, TellWhatExistsAndRemoveAllButDirectories) {
    const struct {
        const char* name;
        mode_t type;  // 0: IsFileExisting is false.
        int reason;   // Why it isn't removed, 0 if it is.
    } CASES[] = {{"file", S_IFREG, 0},
                 {"file/", S_IFREG, 0},
                 {"file\\", S_IFREG, 0},
                 {"file//", 0, ENOTDIR},
                 {"file\\/", 0, ENOENT},
                 {"folder", S_IFDIR, EISDIR},
                 {"folder\\", S_IFDIR, EISDIR},
                 {"folder//", S_IFDIR, EISDIR},
                 {"link/", S_IFDIR, 0},
                 {"broken", 0, 0},
                 {"device", S_IFCHR, 0},
                 {"fifo", S_IFIFO, 0},
                 {"missing", 0, ENOENT},
                 {"", 0, ENOENT},
                 {"/", 0, ENOENT},
                 {"//", S_IFDIR, EISDIR}};
    for (const auto& [name, type, reason] : CASES) {
        const auto populate = [] {
            WriteFile("file", "text");
            fs::create_directory("folder");
            mkfifo("fifo", 0600);
            for (const auto& [link, target] :
                 {std::pair{"link", "folder"}, {"broken", "none"}, {"device", "/dev/null"}})
                if (!fs::is_symlink(link))
                    fs::create_symlink(target, link);
        };
        populate();
        struct _stat info;
        EXPECT_EQ(IsFileExisting(name, &info), type != 0) << name;
        EXPECT_TRUE(type == 0 || (info.st_mode & S_IFMT) == type) << name;
        EXPECT_EQ(IsDirectoryExisting(name), type == S_IFDIR) << name;
        EXPECT_TRUE(type == S_IFDIR || errno == (type != 0 ? ENOTDIR : std::max(reason, ENOENT)))
            << name;
        EXPECT_EQ(RemoveFile(name) == 0 ? 0 : errno, reason) << name;
        populate();
        const bool assured = type == 0 || reason == 0;
        bool existed = type == 0;
        const auto assure = [&, path = name] {
            EXPECT_EQ(AssureFileRemoved(path, &existed), assured) << path;
        };
        EXPECT_EQ(ReportOf(assure), assured ? "" : REPORT);
        EXPECT_TRUE(assured || errno == reason) << name;
        EXPECT_EQ(existed, type != 0) << name;
        EXPECT_EQ(IsFileExisting(name, nullptr), !assured) << name;
    }
    EXPECT_TRUE(AssureFileRemoved("file", nullptr));
}

TEST_F(FileFunctions, CreateFilesAndDirectoriesAndReadTheirStatus) {
    EXPECT_TRUE(CREAT("new", 0777, 1, 1));
    WriteFile("new", "text");
    CHMOD("new", "777");
    struct _stat info;
    for (const bool made : {CREAT("new", 0777, std::pair(1, 1)), CREAT("new", 0777, "nobody")}) {
        EXPECT_TRUE(made);
        EXPECT_TRUE(IsFileExisting("new", &info));
        EXPECT_EQ(info.st_size, 0);
    }
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    EXPECT_EQ(MKDIR("folder", 0, 1, 1), 0);
    EXPECT_EQ(MKDIR("folder", 0, 1, 1), -1);
    mkfifo("pipe", 0600);
    EXPECT_TRUE(CREAT("pipe", 0, 1, 1));  // Without waiting for a writer.
    for (const char* name : {"folder", "missing/file", "new/", ""})
        EXPECT_FALSE(CREAT(name, 0666, 1, 1)) << name;

    for (const long seconds : {-5L, 0x1'2345'6789L}) {
        const timespec times[] = {{1, 0}, {seconds, 999'999'999}};
        EXPECT_EQ(utimensat(-100, (folder + "/new").c_str(), times, 0), 0);
        EXPECT_EQ(getFileMtime("new"), seconds);
    }
    // Ids above 15 and 16 bits are not cut.
    const bool canGive = chown("new", 40000, 70000) == 0;
    const std::pair own(static_cast<int>(geteuid()), static_cast<int>(getegid())), none(-1, -1);
    EXPECT_EQ(getFileUidGid("new"), canGive ? std::pair(40000, 70000) : own);
    for (const char* name : {"missing", "new/", "new\\", ""}) {
        EXPECT_EQ(getFileMtime(name), 0) << name;
        EXPECT_EQ(getFileUidGid(name), none) << name;
    }
    EXPECT_EQ(getUserUidGid("root"), none);
    EXPECT_EQ(getUserUidGid(nullptr), none);
}

}  // namespace
