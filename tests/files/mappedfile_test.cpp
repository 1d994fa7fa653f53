#include "utilities/files/mappedfile.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <iostream>

#include "tests/support/scratch.h"
#include "utilities/files/binaryfile.h"

namespace {

TEST(MappedFile, MapsMakesAndGrowsAsItsModeTells) {
    const struct {
        const char* name;
        int mode;
        std::uint64_t minSize;
        int sizeAfter;  // -1: there is no file.
        int error;      // 0: nothing is told.
        int reason;     // 0: it is mapped.
    } ROWS[] = {{"of100", 0, 0, 100, 0, 0},
                {"of100", 0, 100, 100, 0, 0},
                {"of100", 0, 101, 100, 0, EINVAL},
                {"of100", 2, 4096, 4096, 0, 0},
                {"of100", 3, 50, 100, 0, 0},
                {"of100", 6, 0, 100, 0, 0},
                {"of100", 1, 4096, 100, 0, EACCES},
                {"empty", 0, 0, 0, 0, EINVAL},
                {"empty", 2, 0, 0, 0, EINVAL},
                {"empty", 2, 1, 1, 0, 0},
                {"missing", 0, 0, -1, ENOENT, ENOENT},
                {"missing", 2, 0, 0, 0, EINVAL},
                {"missing", 2, 7, 7, 0, 0},
                {"missing", 1, 7, 0, 0, EACCES},
                {"no/file", 2, 7, -1, ENOENT, ENOENT},
                {"directory", 0, 0, -1, EISDIR, EISDIR},
                {"directory", 2, 0, -1, EEXIST, EISDIR},
                {"others write", 0, 0, 100, EACCES, EACCES},
                {"others write", 2, 0, 100, 0, 0},
                {nullptr, 0, 0, -1, EFAULT, EFAULT},
                {"", 2, 0x100000007, -1, ENOENT, ENOENT}};
    for (const auto& [name, mode, minSize, sizeAfter, error, reason] : ROWS) {
        const bool isMapped = reason == 0;
        SCOPED_TRACE(testing::Message() << name << ", mode " << mode << ", " << minSize);
        const ScratchDirectory scratch;
        const std::string content(100, 'x');
        WriteFile(scratch / "of100", content);
        WriteFile(scratch / "others write", content);
        WriteFile(scratch / "empty", "");
        std::filesystem::create_directory(scratch / "directory");
        BinaryFile other(1, 0);
        other.openFile(scratch / "others write", BinaryFile::BF_UPDATE, BinaryFile::BF_DENYNO, 0);
        // An impossible size is no size of a file.
        const std::string path = name == nullptr ? "(null)" : *name == '\0' ? "" : scratch / name;
        const char* const given = name == nullptr ? nullptr : *name == '\0' ? "made" : path.c_str();
        const bool writes = isMapped && (mode & 2) != 0;

        testing::internal::CaptureStdout();
        std::cout << std::hex << std::setw(40);  // Bad manners of the program.
        const std::ptrdiff_t descriptors = OpenDescriptors();
        {
            MappedFile file(given, mode, minSize);
            const int left = errno;
            auto* const bytes = static_cast<char*>(file.getAddr());
            EXPECT_EQ(bytes != nullptr ? 0 : left, reason);
            EXPECT_TRUE(isMapped || OpenDescriptors() == descriptors);
            EXPECT_TRUE(!isMapped || sizeAfter != 100 || std::string(bytes, 100) == content);
            if (writes)
                bytes[sizeAfter - 1] = 'y';
            alignas(MappedFile) char room[sizeof(MappedFile)];
            auto* const copy = new (room) MappedFile(file);
            EXPECT_EQ((*copy = file).getAddr(), bytes);
        }
        EXPECT_EQ(OpenDescriptors(), descriptors);
        EXPECT_FALSE(std::cout.fail());
        EXPECT_EQ(ReadFile("/proc/self/maps").find(scratch / ""), std::string::npos);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  error != 0
                      ? "error: " + std::to_string(error) + " while open file: " + path + "\n"
                      : "");
        const bool isThere = std::filesystem::is_regular_file(path);
        EXPECT_EQ(isThere ? int(std::filesystem::file_size(path)) : -1, sizeAfter);
        EXPECT_TRUE(!writes || ReadFile(path).back() == 'y');
    }
}

}  // namespace
