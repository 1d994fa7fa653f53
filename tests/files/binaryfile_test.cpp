#include "utilities/files/binaryfile.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <map>
#include <sstream>
#include <vector>

#include "tests/support/frozen_clock.h"
#include "tests/support/scratch.h"

namespace {

constexpr unsigned int HEADER = 3;
constexpr unsigned int RECORD = 4;
constexpr int PROCESSES = 4;
constexpr int CYCLES = 2000;

using ReadMode = BinaryFile::E_BF_READMODE;

const std::map<char, int (*)(BinaryFile&, unsigned int)> STEPS = {
    {'r', [](BinaryFile& file, unsigned int number) { return file.readFile(number); }},
    {'m', [](BinaryFile& file, unsigned int mode) { return file.readFile(ReadMode(mode)); }},
    {'w', [](BinaryFile& file, unsigned int number) { return file.writeFile(number); }},
    {'c', [](BinaryFile& file, unsigned int) { return file.writeCurrent(); }},
    {'R', [](BinaryFile& file, unsigned int) { return file.readHeader(); }},
    {'W', [](BinaryFile& file, unsigned int) { return file.writeHeader(); }},
    {'s', [](BinaryFile& file, unsigned int size) { return file.changeRecordSize(size); }},
    {'S', [](BinaryFile& file, unsigned int size) { return file.changeHeaderSize(size); }},
    {'x', [](BinaryFile& file, unsigned int) { return file.closeFile(); }}};

class BinaryFileTest : public testing::Test {
protected:
    /// Three records.
    void SetUp() override { WriteFile(path, "hdr111122223333"); }

    int Open(BinaryFile& file, int mode, int share = BinaryFile::BF_DENYNO) const {
        return file.openFile(path, static_cast<BinaryFile::E_BF_FILEMODE>(mode),
                             static_cast<BinaryFile::E_BF_SHAREMODE>(share), HEADER);
    }

    /// Does a step, a letter and mostly a number.
    int Do(BinaryFile& file, const std::string& step) const {
        const int number = std::atoi(step.c_str() + 1);
        return step[0] == 'o' ? Open(file, number) : STEPS.at(step[0])(file, unsigned(number));
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

    /// Lets several processes do `cycle` again and again at the same time, each with its letter in
    /// the record's buffer.
    template <typename Cycle>
    std::vector<pid_t> StartWriters(int mode, Cycle cycle) const {
        std::vector<pid_t> children;
        for (int i = 0; i < PROCESSES; ++i) {
            children.push_back(StartProcess([&, i] {
                BinaryFile file(RECORD, 0);
                Open(file, mode);
                std::fill_n(file.getRecordBuffer(), RECORD, static_cast<unsigned char>('a' + i));
                int done = 0;
                while (done < CYCLES && cycle(file) == RECORD)
                    ++done;
                return done == CYCLES ? 0 : 1;
            }));
        }
        return children;
    }

    ScratchDirectory scratch;
    std::string path = scratch / "file";
};

TEST_F(BinaryFileTest, ReadsWritesAndLocksAsItsModeAllows) {
    constexpr int SHARED = BinaryFile::BF_DENYNO, ALONE = BinaryFile::BF_DENYWR;
    // Each step fills the buffers with its own letter. Its result is told with the current record.
    constexpr char WRITES[] = "w0 w2 w4 w10 c W ";
    constexpr char OLD[] = "hdr111122223333";
    const struct {
        int mode, share;
        const char *steps, *results, *locked, *content;
    } ROWS[] = {{0, SHARED, WRITES, "-3@0 -3@0 -3@0 -3@0 -3@0 -3@0 ", "", OLD},
                {0, ALONE, "R r3 x r1 R", "3@0 4@3 0@3 -1@1 -1@1 ", "", OLD},
                {1, SHARED, WRITES, "-3@0 4@2 -3@2 -3@2 4@2 3@2 ", "", "fff1111eeee3333"},
                {2, SHARED, WRITES, "-3@0 4@2 4@4 4@5 4@5 3@5 ", "", "fff1111bbbb3333cccceeee"},
                {2, ALONE, WRITES, "-3@0 4@2 4@4 4@5 4@5 3@5 ", "", "fff1111bbbb3333cccceeee"},
                {3, SHARED, WRITES, "-3@0 -3@0 -3@0 -3@0 4@4 -3@4 ", "", "hdr111122223333eeee"},
                {3, ALONE, WRITES, "-3@0 -3@0 -3@0 -3@0 4@4 -3@4 ", "", "hdr111122223333eeee"},
                {4, SHARED, WRITES, "-3@0 -3@0 -3@0 -3@0 4@0 -3@0 ", "", "eeee"},
                {4, ALONE, "c c", "4@1 4@2 ", "", "aaaabbbb"},
                {0, SHARED, "r0 m2 r2 m1 m1 r4 m0 m2 m3 m77",
                 "0@0 0@0 4@2 4@3 0@3 0@3 4@1 0@1 4@3 4@3 ", "", OLD},
                {1, SHARED, "r3", "4@3 ", "3", OLD},
                {1, ALONE, "r9 r3", "0@0 4@3 ", "", OLD},
                {1, ALONE, "r3 R W", "4@3 3@3 3@3 ", "", "ccc111122223333"},
                {9, ALONE, "r3 W c w1", "4@3 -3@3 -3@3 -3@3 ", "", OLD},
                {-1, ALONE, "r3", "4@3 ", "", OLD},
                {1, SHARED, "r3 r2", "4@3 4@2 ", "2", OLD},
                {1, SHARED, "r3 w3", "4@3 4@3 ", "", "hdr11112222bbbb"},
                {1, SHARED, "r3 w2", "4@3 4@2 ", "", "hdr1111bbbb3333"},
                {1, SHARED, "r3 r9", "4@3 0@3 ", "3", OLD},
                {2, SHARED, "R R r3", "3@0 3@0 4@3 ", "h3", OLD},
                {1, SHARED, "R W", "3@0 3@0 ", "", "bbb111122223333"},
                {1, SHARED, "R r3 x x", "3@0 4@3 0@3 0@3 ", "", OLD},
                {1, SHARED, "R x o1 R", "3@0 0@0 0@0 3@0 ", "h", OLD},  // The lock is taken anew.
                {1, SHARED, "r1 o4 s8 S8 r1", "4@1 -2@1 -8@1 -8@1 4@1 ", "1", OLD},
                {1, SHARED, "x s0 S0 S8 s2 o1 r3", "0@0 -8@0 -8@0 0@0 0@0 0@0 2@3 ", "2", OLD},
                {1, SHARED, "x r1 w1 R W", "0@0 -10@1 -10@1 -9@1 -9@1 ", "", OLD}};
    for (const auto& [mode, share, steps, results, locked, content] : ROWS) {
        SetUp();
        BinaryFile file(RECORD, 1);
        ASSERT_EQ(Open(file, mode, share), 0);
        std::istringstream words(steps);
        std::string step, told;
        for (unsigned char letter = 'a'; words >> step; ++letter) {
            const bool reads = step[0] == 'r' || step[0] == 'm';
            if (!reads) {
                std::fill_n(file.getRecordBuffer(), file.getRecordSize(), letter);
                std::fill_n(file.getHeaderBuffer(), file.getHeaderSize(), letter);
            }
            const int result = Do(file, step);
            told += std::to_string(result) + '@' + std::to_string(file.getCurrentRecord()) + ' ';
            EXPECT_TRUE(!reads || result < int{RECORD} ||
                        file.getRecordBuffer()[3] == '0' + file.getCurrentRecord())
                << steps;
        }
        EXPECT_EQ(told, results) << mode << ' ' << steps;
        EXPECT_EQ(Locked(), locked) << mode << ' ' << steps;
        EXPECT_EQ(ReadFile(path), content) << mode << ' ' << steps;
    }
}

TEST_F(BinaryFileTest, LetsOpenersInThatGoTogether) {
    const auto denies = [](int share, int mode) {
        return share == 0x10 || share == 0x30 || (share == 0x20 && mode != BinaryFile::BF_READONLY);
    };
    for (int bits = 0; bits < 64; ++bits) {
        const int firstMode = bits & 1, secondMode = 2 * (bits & 2);
        const int first = 0x10 + 0x10 * (bits >> 2 & 3), second = 0x10 + 0x10 * (bits >> 4);
        SCOPED_TRACE(testing::Message()
                     << firstMode << '/' << first << " before " << secondMode << '/' << second);
        SetUp();
        BinaryFile opened(RECORD, 0);
        ASSERT_EQ(Open(opened, firstMode, first), 0);
        const auto isRefused = [&] {
            BinaryFile file(RECORD, 0);
            return Open(file, secondMode, second) == -1;
        };
        const bool refused = denies(first, secondMode) || denies(second, firstMode);
        EXPECT_EQ(isRefused(), refused);
        EXPECT_EQ(ReadFile(path).empty(), !refused && secondMode == BinaryFile::BF_CREATE);
        // Who was refused or has gone leaves the first one's denial alone.
        EXPECT_EQ(EndOf(StartProcess(isRefused)), refused ? 1 : 0);
    }
}

TEST_F(BinaryFileTest, CountsWholeRecordsOnly) {
    const struct {
        const char* content;
        unsigned int header, record, count;
        int bytes;
    } ROWS[] = {{"hdr1111222", 3, 4, 1, 3},
                {"hdr", 3, 4, 0, 3},
                {"hd", 3, 4, 0, 2},
                {"11112222", 0, 4, 2, 0},
                {"hdr1111", 3, 0, 0, 3}};
    for (const auto& [content, header, record, count, bytes] : ROWS) {
        WriteFile(path, content);
        BinaryFile file(record, 0);
        ASSERT_EQ(file.openFile(path, BinaryFile::BF_EXTEND, BinaryFile::BF_DENYNO, header), 0);
        EXPECT_EQ(file.getRecordCount(), count) << content;
        EXPECT_EQ(file.readFile(1), count > 0 ? static_cast<int>(record) : 0) << content;
        EXPECT_EQ(file.readHeader(), bytes) << content;
        EXPECT_EQ(std::memcmp(file.getHeaderBuffer(), content, std::size_t(bytes)), 0) << content;
    }
}

TEST_F(BinaryFileTest, StaysClosedWhereItCannotOpen) {
    const std::pair<std::string, int> ROWS[] = {
        {"", -2}, {scratch / "missing", -1}, {scratch / ".", -1}, {scratch / "no/file", -1}};
    for (const auto& [name, result] : ROWS) {
        BinaryFile file(RECORD, HEADER);
        EXPECT_EQ(file.openFile(name, BinaryFile::BF_READONLY, BinaryFile::BF_DENYNO, 9), result);
        EXPECT_TRUE(!file.isOpen() && file.getHeaderSize() == HEADER && file.closeFile() == 0);
    }
}

TEST_F(BinaryFileTest, LeavesNothingOfARecordForWhichThereIsNoRoom) {
    const pid_t child = StartProcess([&] {
        LimitFiles(22);
        BinaryFile file(RECORD, 0);
        Open(file, BinaryFile::BF_APPEND);
        std::fill_n(file.getRecordBuffer(), RECORD, static_cast<unsigned char>('4'));
        return file.writeCurrent() == 4 && file.writeCurrent() == -1 &&
               file.getRecordCount() == 4 && file.getCurrentRecord() == 4;
    });
    EXPECT_EQ(EndOf(child), 1);
    EXPECT_EQ(ReadFile(path), "hdr1111222233334444");
    BinaryFile full(RECORD, 0);
    ASSERT_EQ(full.openFile("/dev/full", BinaryFile::BF_EXTEND, BinaryFile::BF_DENYNO, 0), 0);
    EXPECT_EQ(full.writeFile(1), -1);
    EXPECT_TRUE(full.getRecordCount() == 0 && full.getCurrentRecord() == 1);
}

TEST_F(BinaryFileTest, GivesUpTenSecondsAfterAnothersLock) {
    frozenTime = BEFORE_THE_WRAP;
    BinaryFile holder(RECORD, 0), other(RECORD, 0);
    EXPECT_EQ(holder.openFile(path, BinaryFile::BF_UPDATE, BinaryFile::BF_DENYNO, 99), 0);
    EXPECT_TRUE(Open(other, BinaryFile::BF_EXTEND) == 0 && other.readFile(1) == RECORD &&
                other.writeFile(1) == RECORD);
    EXPECT_EQ(holder.readHeader(), 15);  // Holds also what is to be added.
    const std::pair<const char*, int> ROWS[] = {
        {"r2", -10}, {"w2", -10}, {"w4", -10}, {"R", -9}, {"W", -9}};
    for (const auto& [step, result] : ROWS) {
        const long start = frozenTime;
        EXPECT_EQ(Do(other, step), result) << step;
        EXPECT_EQ((frozenTime - start) / 100, 100) << step;
        EXPECT_TRUE(other.getLockedRecord() == 0 && other.getRecordBuffer()[0] == '1');
    }
    // What can't succeed isn't waited for.
    other.closeFile();
    const long start = frozenTime;
    EXPECT_EQ(other.writeFile(1), -10);
    EXPECT_EQ(std::exchange(frozenTime, -1), start);
}

TEST_F(BinaryFileTest, KeepsEachAppendedRecordWhole) {
    for (const int mode : {BinaryFile::BF_APPEND, BinaryFile::BF_EXTEND}) {
        WriteFile(path, "hdr");
        for (const pid_t child : StartWriters(mode, [mode](BinaryFile& file) {
                 return mode == BinaryFile::BF_APPEND ? file.writeCurrent()
                                                      : file.writeFile(1000000);
             }))
            EXPECT_EQ(EndOf(child), 0);
        const std::string content = ReadFile(path);
        for (std::size_t at = HEADER; at < content.size(); at += RECORD)
            ASSERT_EQ(content.substr(at, RECORD), std::string(RECORD, content[at]));
        for (int i = 0; i < PROCESSES; ++i)
            EXPECT_EQ(std::count(content.begin() + HEADER, content.end(), 'a' + i),
                      CYCLES * int{RECORD})
                << "mode " << mode;
    }
}

}  // namespace
