#include "utilities/files/binaryfile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <memory>
#include <vector>

#include "tests/support/scratch.h"

namespace {

constexpr unsigned int HEADER = 3;
constexpr unsigned int RECORD = 4;

class BinaryFileTest : public testing::Test {
protected:
    /// Three records.
    void SetUp() override { WriteFile(path, "hdr111122223333"); }

    std::unique_ptr<BinaryFile> Open(int mode, int share = BinaryFile::BF_DENYNO) const {
        auto file = std::make_unique<BinaryFile>(RECORD, 0);
        const int result = file->openFile(path, static_cast<BinaryFile::E_BF_FILEMODE>(mode),
                                          static_cast<BinaryFile::E_BF_SHAREMODE>(share), HEADER);
        return result == 0 ? std::move(file) : nullptr;
    }

    static int Put(BinaryFile& file, const char* text) {
        std::memcpy(file.getRecordBuffer(), text, RECORD);
        return file.writeCurrent();
    }

    /// A letter for each of header and records that somebody has locked.
    std::string Locked() const {
        const int probe = open(path.c_str(), O_RDWR | O_CLOEXEC);
        std::string locked;
        for (int part = 0; part < 6; ++part) {
            struct flock range {};
            range.l_type = F_WRLCK;
            range.l_start = part == 0 ? 0 : int{HEADER} + (part - 1) * int{RECORD};
            range.l_len = part == 0 ? HEADER : RECORD;
            EXPECT_EQ(fcntl(probe, F_OFD_GETLK, &range), 0);
            if (range.l_type != F_UNLCK)
                locked += "h12345"[part];
        }
        close(probe);
        return locked;
    }

    ScratchDirectory scratch;
    std::string path = scratch / "file";
};

TEST_F(BinaryFileTest, ReadsByNumberAndByPlace) {
    const auto file = Open(BinaryFile::BF_READONLY);
    const struct {
        int number, mode, result;
        unsigned int current;
    } rows[] = {{0, -1, 0, 0},
                {-1, BinaryFile::BF_READ_PREVIOUS, 0, 0},
                {2, -1, 4, 2},
                {-1, BinaryFile::BF_READ_NEXT, 4, 3},
                {-1, BinaryFile::BF_READ_NEXT, 0, 3},
                {4, -1, 0, 3},
                {-1, BinaryFile::BF_READ_FIRST, 4, 1},
                {-1, BinaryFile::BF_READ_PREVIOUS, 0, 1},
                {-1, BinaryFile::BF_READ_LAST, 4, 3},
                {-1, 77, 4, 3}};
    for (const auto& row : rows) {
        const auto mode = static_cast<BinaryFile::E_BF_READMODE>(row.mode);
        const int result = row.mode < 0 ? file->readFile(static_cast<unsigned int>(row.number))
                                        : file->readFile(mode);
        SCOPED_TRACE(testing::Message() << "number " << row.number << ", mode " << row.mode);
        EXPECT_EQ(result, row.result);
        EXPECT_EQ(file->getCurrentRecord(), row.current);
        if (result > 0) {
            EXPECT_EQ(file->getRecordBuffer()[0], '0' + row.current);
        }
    }
    EXPECT_EQ(file->readHeader(), 3);
    EXPECT_EQ(std::string(file->getHeaderBuffer(), file->getHeaderBuffer() + HEADER), "hdr");
}

TEST_F(BinaryFileTest, WritesWhatItsModeAllows) {
    const struct {
        int mode;
        int results[5];  // Of a record that is there, the next, one far away, the current, header.
        const char* content;
    } rows[] = {
        {BinaryFile::BF_READONLY, {-3, -3, -3, -3, -3}, "hdr111122223333"},
        {BinaryFile::BF_UPDATE, {4, -3, -3, 4, 3}, "HDR1111newd3333"},
        {BinaryFile::BF_EXTEND, {4, 4, 4, 4, 3}, "HDR1111newa3333newbnewd"},
        {BinaryFile::BF_APPEND, {-3, -3, -3, 4, -3}, "hdr111122223333newd"},
        {BinaryFile::BF_CREATE, {-3, -3, -3, 4, -3}, "newd"},
    };
    for (const int share : {BinaryFile::BF_DENYNO, BinaryFile::BF_DENYWR}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(testing::Message() << "mode " << row.mode << ", share " << share);
            SetUp();
            auto file = Open(row.mode, share);
            const auto write = [&](unsigned int number, const char* text) {
                std::memcpy(file->getRecordBuffer(), text, RECORD);
                return file->writeFile(number);
            };
            EXPECT_EQ(file->writeFile(0), -3);
            EXPECT_EQ(write(2, "newa"), row.results[0]);
            EXPECT_EQ(write(4, "newb"), row.results[1]);
            EXPECT_EQ(write(10, "newc"), row.results[2]);
            if (row.mode == BinaryFile::BF_EXTEND) {
                EXPECT_EQ(file->getCurrentRecord(), 5u);
            }
            EXPECT_EQ(Put(*file, "newd"), row.results[3]);
            std::memcpy(file->getHeaderBuffer(), "HDR", HEADER);
            EXPECT_EQ(file->writeHeader(), row.results[4]);
            EXPECT_EQ(ReadFile(path), row.content);
            EXPECT_EQ(Locked(), "");
        }
    }
}

TEST_F(BinaryFileTest, HoldsTheLockOfWhatItReadsForUpdate) {
    using Step = int (*)(BinaryFile&);
    constexpr Step READ3 = [](BinaryFile& file) { return file.readFile(3); };
    constexpr Step READ2 = [](BinaryFile& file) { return file.readFile(2); };
    constexpr Step READ9 = [](BinaryFile& file) { return file.readFile(9); };
    constexpr Step WRITE3 = [](BinaryFile& file) { return file.writeFile(3); };
    constexpr Step WRITE2 = [](BinaryFile& file) { return file.writeFile(2); };
    constexpr Step READ_HEADER = [](BinaryFile& file) { return file.readHeader(); };
    constexpr Step WRITE_HEADER = [](BinaryFile& file) { return file.writeHeader(); };
    constexpr Step CLOSE = [](BinaryFile& file) { return file.closeFile(); };
    const struct {
        std::vector<Step> steps;
        const char* locked;
    } rows[] = {{{READ3}, "3"},
                {{READ3, READ2}, "2"},
                {{READ3, WRITE3}, ""},
                {{READ3, WRITE2}, ""},
                {{READ3, READ9}, "3"},
                {{READ_HEADER, READ_HEADER, READ3}, "h3"},
                {{WRITE_HEADER}, ""},
                {{READ_HEADER, WRITE_HEADER, READ_HEADER}, "h"},
                {{READ3, READ_HEADER, CLOSE}, ""}};
    for (const int share : {BinaryFile::BF_DENYNO, BinaryFile::BF_DENYWR}) {
        for (const int mode : {BinaryFile::BF_READONLY, BinaryFile::BF_UPDATE}) {
            const bool locks = mode == BinaryFile::BF_UPDATE && share == BinaryFile::BF_DENYNO;
            for (const auto& row : rows) {
                const auto file = Open(mode, share);
                for (const Step step : row.steps)
                    step(*file);
                EXPECT_EQ(Locked(), locks ? row.locked : "") << "row " << &row - rows;
            }
        }
    }
    // After a close the header's lock is taken anew.
    const auto file = Open(BinaryFile::BF_UPDATE);
    file->readHeader();
    file->closeFile();
    file->openFile(path, BinaryFile::BF_UPDATE, BinaryFile::BF_DENYNO, HEADER);
    file->readHeader();
    EXPECT_EQ(Locked(), "h");
}

TEST_F(BinaryFileTest, LetsOpenersInThatGoTogether) {
    constexpr int SHARES[] = {0x10, 0x20, 0x30, 0x40};
    const auto denies = [](int share, int mode) {
        const bool writes = mode != BinaryFile::BF_READONLY;
        return share == 0x10 || share == 0x30 || (share == 0x20 && writes);
    };
    for (const int firstMode : {BinaryFile::BF_READONLY, BinaryFile::BF_UPDATE}) {
        for (const int secondMode : {BinaryFile::BF_READONLY, BinaryFile::BF_CREATE}) {
            for (const int first : SHARES) {
                for (const int second : SHARES) {
                    SetUp();
                    const auto opened = Open(firstMode, first);
                    ASSERT_NE(opened, nullptr);
                    const bool refused = denies(first, secondMode) || denies(second, firstMode);
                    SCOPED_TRACE(testing::Message() << firstMode << '/' << first << " before "
                                                    << secondMode << '/' << second);
                    EXPECT_EQ(Open(secondMode, second) == nullptr, refused);
                    const bool emptied = !refused && secondMode == BinaryFile::BF_CREATE;
                    EXPECT_EQ(ReadFile(path).empty(), emptied);
                    // Who was refused or has gone leaves the first one's denial alone.
                    EXPECT_EQ(EndOf(StartProcess(
                                  [&] { return Open(secondMode, second) == nullptr ? 1 : 0; })),
                              refused ? 1 : 0);
                }
            }
        }
    }
}

TEST_F(BinaryFileTest, CountsWholeRecordsOnly) {
    const struct {
        const char* content;
        unsigned int header, record, count;
    } rows[] = {{"hdr1111222", 3, 4, 1},
                {"hdr", 3, 4, 0},
                {"hd", 3, 4, 0},
                {"11112222", 0, 4, 2},
                {"hdr1111", 3, 0, 0}};
    for (const auto& row : rows) {
        WriteFile(path, row.content);
        BinaryFile file(row.record, 0);
        ASSERT_EQ(file.openFile(path, BinaryFile::BF_EXTEND, BinaryFile::BF_DENYNO, row.header), 0);
        EXPECT_EQ(file.getRecordCount(), row.count) << row.content;
        EXPECT_EQ(file.readFile(1), row.count > 0 ? static_cast<int>(row.record) : 0);
        EXPECT_EQ(file.readHeader(),
                  static_cast<int>(std::min<std::size_t>(row.header, std::strlen(row.content))));
    }
}

TEST_F(BinaryFileTest, RefusesWithoutHarm) {
    BinaryFile closed(RECORD, HEADER);
    EXPECT_EQ(closed.closeFile(), 0);
    EXPECT_EQ(closed.openFile("", BinaryFile::BF_READONLY, BinaryFile::BF_DENYNO, 1), -2);
    for (const std::string& name : {scratch / "missing", scratch / ".", scratch / "no/file"}) {
        EXPECT_EQ(closed.openFile(name, BinaryFile::BF_READONLY, BinaryFile::BF_DENYNO, 9), -1);
        EXPECT_EQ(closed.getHeaderSize(), HEADER);
    }
    EXPECT_EQ(closed.readHeader(), -1);
    EXPECT_EQ(closed.changeRecordSize(0), -8);
    EXPECT_EQ(closed.changeHeaderSize(8), 0);
    EXPECT_EQ(closed.getHeaderSize(), 8u);

    const auto file = Open(BinaryFile::BF_UPDATE);
    EXPECT_EQ(file->changeRecordSize(8), -8);
    EXPECT_EQ(file->changeHeaderSize(8), -8);
    EXPECT_EQ(file->openFile(path, BinaryFile::BF_CREATE, BinaryFile::BF_DENYNO, 1), -2);
    EXPECT_EQ(file->readFile(1), 4);
    file->closeFile();
    EXPECT_EQ(file->readFile(1), -10);
    EXPECT_EQ(file->getLockedRecord(), 0u);
}

TEST_F(BinaryFileTest, LeavesNothingOfARecordForWhichThereIsNoRoom) {
    const pid_t child = StartProcess([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{22, 22};
        setrlimit(RLIMIT_FSIZE, &limit);
        const auto file = Open(BinaryFile::BF_APPEND);
        return Put(*file, "4444") == 4 && Put(*file, "5555") == -1 && file->getRecordCount() == 4 &&
               file->getCurrentRecord() == 4;
    });
    EXPECT_EQ(EndOf(child), 1);
    EXPECT_EQ(ReadFile(path), "hdr1111222233334444");
    BinaryFile full(RECORD, 0);
    ASSERT_EQ(full.openFile("/dev/full", BinaryFile::BF_EXTEND, BinaryFile::BF_DENYNO, 0), 0);
    EXPECT_EQ(full.writeFile(1), -1);
    EXPECT_EQ(full.getRecordCount(), 0u);
}

// Everything below happens in several processes at the same time.

constexpr int PROCESSES = 4;
constexpr int CYCLES = 2000;

TEST_F(BinaryFileTest, LosesNoUpdateOfASharedRecord) {
    WriteFile(path, std::string(HEADER + RECORD, '\0'));
    const auto increment = [](BinaryFile& file) {
        std::uint32_t number = 0;
        if (file.readFile(1) != RECORD)
            return false;
        std::memcpy(&number, file.getRecordBuffer(), RECORD);
        ++number;
        std::memcpy(file.getRecordBuffer(), &number, RECORD);
        return file.writeFile(1) == RECORD;
    };
    // One more is killed again and again, mostly while it holds the lock.
    const auto hold = [&] {
        const auto file = Open(BinaryFile::BF_UPDATE);
        while (file->readFile(1) == RECORD) {
        }
        return 1;
    };
    std::vector<pid_t> children;
    for (int i = 0; i < PROCESSES; ++i) {
        children.push_back(StartProcess([&] {
            const auto file = Open(BinaryFile::BF_UPDATE);
            int done = 0;
            while (done < CYCLES && increment(*file))
                ++done;
            return done == CYCLES ? 0 : 1;
        }));
    }
    for (int i = 0; i < 20; ++i) {
        const pid_t victim = StartProcess(hold);
        while (Locked().empty()) {
        }
        kill(victim, SIGKILL);
        EXPECT_EQ(EndOf(victim), -SIGKILL);
    }
    for (const pid_t child : children)
        EXPECT_EQ(EndOf(child), 0);
    std::uint32_t number = 0;
    std::memcpy(&number, ReadFile(path).data() + HEADER, RECORD);
    EXPECT_EQ(number, static_cast<std::uint32_t>(PROCESSES * CYCLES));
    EXPECT_EQ(Locked(), "");
}

TEST_F(BinaryFileTest, KeepsEachAppendedRecordWhole) {
    for (const int mode : {BinaryFile::BF_APPEND, BinaryFile::BF_EXTEND}) {
        WriteFile(path, "hdr");
        std::vector<pid_t> children;
        for (int i = 0; i < PROCESSES; ++i) {
            children.push_back(StartProcess([&, i] {
                const auto file = Open(mode);
                std::fill_n(file->getRecordBuffer(), RECORD, static_cast<unsigned char>('a' + i));
                int done = 0;
                while (done < CYCLES &&
                       (mode == BinaryFile::BF_APPEND ? file->writeCurrent()
                                                      : file->writeFile(1000000)) == RECORD)
                    ++done;
                return done == CYCLES ? 0 : 1;
            }));
        }
        for (const pid_t child : children)
            EXPECT_EQ(EndOf(child), 0);
        const std::string content = ReadFile(path);
        std::array<int, PROCESSES> counts{};
        for (std::size_t at = HEADER; at < content.size(); at += RECORD) {
            ASSERT_EQ(content.substr(at, RECORD), std::string(RECORD, content[at]));
            ++counts.at(static_cast<std::size_t>(content[at] - 'a'));
        }
        for (const int count : counts)
            EXPECT_EQ(count, CYCLES) << "mode " << mode;
    }
}

}  // namespace
