#include "utilities/files/mappedfile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>

#include "tests/support/scratch.h"

namespace {

TEST(MappedFile, MapsMakesAndGrowsAsItsModeTells) {
    const struct {
        const char* name;
        int mode;
        std::uint32_t minSize;
        bool isMapped;
        int sizeAfter;  // -1: there is no file.
        int error;      // 0: nothing is told.
    } rows[] = {
        {"of100", 0, 0, true, 100, 0},
        {"of100", 0, 100, true, 100, 0},
        {"of100", 0, 101, false, 100, 0},
        {"of100", 2, 4096, true, 4096, 0},
        {"of100", 3, 50, true, 100, 0},
        {"of100", 6, 0, true, 100, 0},
        {"of100", 4, 0, true, 100, 0},
        {"of100", 1, 4096, false, 100, 0},
        {"empty", 0, 0, false, 0, 0},
        {"empty", 2, 0, false, 0, 0},
        {"empty", 2, 1, true, 1, 0},
        {"missing", 0, 0, false, -1, ENOENT},
        {"missing", 2, 0, false, 0, 0},
        {"missing", 2, 7, true, 7, 0},
        {"missing", 1, 7, false, 0, 0},
        {"no/file", 2, 7, false, -1, ENOENT},
        {"directory", 0, 0, false, 4096, EISDIR},
        {"directory", 2, 0, false, 4096, EEXIST},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message()
                     << row.name << ", mode " << row.mode << ", " << row.minSize);
        const ScratchDirectory scratch;
        WriteFile(scratch / "of100", std::string(100, 'x'));
        WriteFile(scratch / "empty", "");
        std::filesystem::create_directory(scratch / "directory");
        const std::string path = scratch / row.name;
        const std::ptrdiff_t descriptors = OpenDescriptors();
        std::ostringstream told;
        std::streambuf* const console = std::cout.rdbuf(told.rdbuf());
        {
            MappedFile file(path.c_str(), row.mode, row.minSize);
            auto* const bytes = static_cast<char*>(file.getAddr());
            ASSERT_EQ(bytes != nullptr, row.isMapped);
            if (!row.isMapped) {
                EXPECT_EQ(OpenDescriptors(), descriptors);
            } else if (row.mode == 0 || row.mode == 4) {
                EXPECT_EQ(std::string(bytes, 100), std::string(100, 'x'));
            } else {
                bytes[row.sizeAfter - 1] = 'y';
            }
        }
        std::cout.rdbuf(console);
        EXPECT_EQ(OpenDescriptors(), descriptors);
        EXPECT_EQ(told.str(), row.error == 0 ? ""
                                             : "error: " + std::to_string(row.error) +
                                                   " while open file: " + path + "\n");
        EXPECT_EQ(std::filesystem::exists(path), row.sizeAfter >= 0);
        if (std::filesystem::is_regular_file(path)) {
            EXPECT_EQ(std::filesystem::file_size(path), static_cast<std::size_t>(row.sizeAfter));
        }
        if (row.isMapped && (row.mode & 2) != 0) {
            EXPECT_EQ(ReadFile(path).back(), 'y');
        }
    }
}

TEST(MappedFile, LeavesAFileAloneThatCannotGrow) {
    const ScratchDirectory scratch;
    WriteFile(scratch / "file", "content");
    EXPECT_EQ(EndOf(StartProcess([&] {
                  std::signal(SIGXFSZ, SIG_IGN);
                  const rlimit limit{100000, 100000};
                  setrlimit(RLIMIT_FSIZE, &limit);
                  return MappedFile((scratch / "file").c_str(), 2, 200000).getAddr() == nullptr;
              })),
              1);
    EXPECT_EQ(ReadFile(scratch / "file"), "content");
}

TEST(MappedFile, SharesItsAddressWithACopy) {
    const ScratchDirectory scratch;
    WriteFile(scratch / "file", "content");
    MappedFile file((scratch / "file").c_str(), 0, 0);
    alignas(MappedFile) char copy[sizeof(MappedFile)];
    EXPECT_EQ((new (copy) MappedFile(file))->getAddr(), file.getAddr());
}

}  // namespace
