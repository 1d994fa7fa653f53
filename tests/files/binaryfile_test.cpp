#include "utilities/files/binaryfile.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <sstream>
#include <tuple>
#include <utility>

#include "tests/support/frozen_clock.h"
#include "tests/support/scratch.h"

namespace {

constexpr int HEADER = 3, RECORD = 4;

// Lock bytes beyond any content.
constexpr off_t FILE_END = 0x7fffffffffff0004, PLACE_OF_2 = (off_t{1} << 62) + HEADER + RECORD;

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
    {'x', [](BinaryFile& file, unsigned int) { return file.closeFile(); }},
    {'f', [](BinaryFile&, unsigned int) { return EndOf(StartProcess([] { return 0; })); }}};

class BinaryFileTest : public testing::Test {
protected:
    /// Three records.
    void SetUp() override { WriteFile(path, "hdr111122223333"); }
    void TearDown() override { close(probe); }

    int Open(BinaryFile& file, int mode, int share = BinaryFile::BF_DENYNO) const {
        return file.openFile(path, static_cast<BinaryFile::E_BF_FILEMODE>(mode),
                             static_cast<BinaryFile::E_BF_SHAREMODE>(share), HEADER);
    }

    /// Does a step, a letter and mostly a number.
    int Do(BinaryFile& file, const std::string& step) const {
        const int number = std::atoi(step.c_str() + 1);
        return step[0] == 'o' ? Open(file, number) : STEPS.at(step[0])(file, unsigned(number));
    }

    /// A letter for each of header, records and file's end that another one has locked, or the
    /// place in the queue for record 2.
    std::string Locked() const {
        const struct {
            char letter;
            off_t start, size;
        } RANGES[] = {{'h', 0, HEADER}, {'1', 3, RECORD},   {'2', 7, RECORD},    {'3', 11, RECORD},
                      {'4', 15, 1},     {'e', FILE_END, 1}, {'q', PLACE_OF_2, 1}};
        std::string locked;
        for (const auto& [letter, start, size] : RANGES) {
            struct flock range = {F_WRLCK, SEEK_SET, start, size, 0};
            EXPECT_EQ(fcntl(probe, F_OFD_GETLK, &range), 0);
            if (range.l_type != F_UNLCK)
                locked += letter;
        }
        return locked;
    }

    /// Locks a byte as another opener would, or gives it up.
    void SetLock(short type, off_t byte) const {
        struct flock range = {type, SEEK_SET, byte, 1, 0};
        EXPECT_EQ(fcntl(probe, F_OFD_SETLK, &range), 0);
    }

    ScratchDirectory scratch;
    std::string path = scratch / "file";
    const int probe = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
};

TEST_F(BinaryFileTest, ReadsWritesAndLocksAsItsModeAllows) {
    constexpr int SHARED = BinaryFile::BF_DENYNO, ALONE = BinaryFile::BF_DENYWR;
    // Each step fills the buffers with its own letter. Its result is told with the reason of a
    // failure and the current record.
    const std::map<int, const char*> REASONS = {{EBADF, "b"}, {EINVAL, "i"}, {EBUSY, "u"}};
    constexpr char WRITES[] = "w0 w2 w4 w10 c W ";
    constexpr char OLD[] = "hdr111122223333";
    const struct {
        int mode, share;
        const char *steps, *results, *locked, *content;
    } ROWS[] = {
        {0, SHARED, WRITES, "-3b@0 -3b@0 -3b@0 -3b@0 -3b@0 -3b@0 ", "", OLD},
        {0, ALONE, "R r3 x r1 R", "3@0 4@3 0@3 -1b@1 -1b@1 ", "", OLD},
        {1, SHARED, WRITES, "-3i@0 4@2 -3i@2 -3i@2 4@2 3@2 ", "", "fff1111eeee3333"},
        {2, SHARED, WRITES, "-3i@0 4@2 4@4 4@5 4@5 3@5 ", "", "fff1111bbbb3333cccceeee"},
        {2, ALONE, WRITES, "-3i@0 4@2 4@4 4@5 4@5 3@5 ", "", "fff1111bbbb3333cccceeee"},
        {3, SHARED, WRITES, "-3b@0 -3b@0 -3b@0 -3b@0 4@4 -3b@4 ", "", "hdr111122223333eeee"},
        {3, ALONE, WRITES, "-3b@0 -3b@0 -3b@0 -3b@0 4@4 -3b@4 ", "", "hdr111122223333eeee"},
        {4, SHARED, WRITES, "-3b@0 -3b@0 -3b@0 -3b@0 4@0 -3b@0 ", "", "eeee"},
        {4, ALONE, "c c", "4@1 4@2 ", "", "aaaabbbb"},
        {0, SHARED, "r0 m2 r2 m1 m1 r4 m0 m2 m3 m77", "0@0 0@0 4@2 4@3 0@3 0@3 4@1 0@1 4@3 4@3 ",
         "", OLD},
        {1, ALONE, "r9 r3", "0@0 4@3 ", "", OLD},
        {1, ALONE, "r3 R W", "4@3 3@3 3@3 ", "", "ccc111122223333"},
        {9, ALONE, "r3 W c w1", "4@3 -3b@3 -3b@3 -3b@3 ", "", OLD},
        {-1, ALONE, "r3", "4@3 ", "", OLD},
        {1, SHARED, "r3 r2", "4@3 4@2 ", "2", OLD},
        {1, SHARED, "r3 w3", "4@3 4@3 ", "", "hdr11112222bbbb"},
        {1, SHARED, "r3 w2", "4@3 4@2 ", "", "hdr1111bbbb3333"},
        {1, SHARED, "r3 r9", "4@3 0@3 ", "3", OLD},
        {2, SHARED, "R R r3", "3@0 3@0 4@3 ", "h3", OLD},
        {1, SHARED, "R W", "3@0 3@0 ", "", "bbb111122223333"},
        {1, SHARED, "R r3 x x", "3@0 4@3 0@3 0@3 ", "", OLD},
        {1, SHARED, "R x o1 R", "3@0 0@0 0@0 3@0 ", "h", OLD},  // The lock is taken anew.
        {1, SHARED, "r1 o4 s8 S8 r1", "4@1 -2u@1 -8u@1 -8u@1 4@1 ", "1", OLD},
        {1, SHARED, "x s0 S0 S8 s2 o1 r3", "0@0 -8i@0 -8i@0 0@0 0@0 0@0 2@3 ", "2", OLD},
        {1, SHARED, "x r1 w1 R W", "0@0 -10b@1 -10b@1 -9b@1 -9b@1 ", "", OLD}};
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
            told += std::to_string(result) + (result < 0 ? REASONS.at(errno) : "") + '@' +
                    std::to_string(file.getCurrentRecord()) + ' ';
            EXPECT_TRUE(!reads || result < RECORD ||
                        file.getRecordBuffer()[3] == '0' + file.getCurrentRecord())
                << steps;
        }
        EXPECT_EQ(std::tuple(told, Locked(), ReadFile(path)), std::tuple(results, locked, content))
            << mode << ' ' << steps;
    }
}

TEST_F(BinaryFileTest, ReadsAheadInOrderWhereNobodyCanTell) {
    const struct {
        int mode, share;
        const char* steps;
        bool isAhead;
    } ROWS[] = {
        {0, 0x20, "r1 r2", true},     {1, 0x10, "m0 m1", true},     {3, 0x20, "r1 r2", true},
        {0, 0x30, "r1 r2", false},    {0, 0x40, "r1 r2", false},    {1, 0x20, "r2", false},
        {1, 0x20, "r2 r1", false},    {1, 0x20, "r1 r2 w1", false}, {1, 0x20, "r1 r2 W", false},
        {1, 0x20, "r1 w1 r2", false}, {3, 0x20, "r1 r2 c", false},  {2, 0x20, "r1 r2 x o0", false},
        {1, 0x20, "r1 r2 f", false},  {0, 0x20, "R r1", false},     {2, 0x20, "r1 r2 w4", false},
        {1, 0x20, "r1 r2 r2", true}};
    for (const auto& [mode, share, steps, isAhead] : ROWS) {
        SetUp();
        BinaryFile file(RECORD, 0);
        ASSERT_EQ(Open(file, mode, share), 0);
        std::istringstream words(steps);
        for (std::string step; words >> step;)
            EXPECT_GE(Do(file, step), 0);
        // Another program changes the third record.
        EXPECT_EQ(pwrite(probe, "else", RECORD, HEADER + 2 * RECORD), RECORD);
        const auto reads = [&](char first) {
            return Do(file, "r3") == RECORD && file.getRecordBuffer()[0] == first;
        };
        EXPECT_TRUE(reads(isAhead ? '3' : 'e')) << mode << ' ' << share << ' ' << steps;
        EXPECT_EQ(EndOf(StartProcess([&] { return reads('e') ? 0 : 1; })), 0) << "the child";
        EXPECT_TRUE(reads('e')) << "after a fork";
    }
    SetUp();
    BinaryFile file(RECORD, 0);
    EXPECT_EQ(Open(file, BinaryFile::BF_READONLY, BinaryFile::BF_DENYWR) + Do(file, "r1"), RECORD);
    std::filesystem::resize_file(path, HEADER + 2 * RECORD + 1);
    EXPECT_EQ(Do(file, "r2"), RECORD);
    EXPECT_EQ(Do(file, "r3"), 1) << "what is left of it";
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

TEST_F(BinaryFileTest, CountsWholeRecordsOfWhatItCanOpen) {
    const struct {
        std::string name, content;
        unsigned int header, record, count;
        int opened, bytes;
    } ROWS[] = {{path, "hdr1111222", 3, 4, 1, 0, 3},
                {path, "hdr", 3, 4, 0, 0, 3},
                {path, "hd", 3, 4, 0, 0, 2},
                {path, "11112222", 0, 4, 2, 0, 0},
                {path, "hdr1111", 3, 0, 0, 0, 3},
                {"", "", 3, 4, 0, -2, -1},
                {scratch / "missing", "", 3, 4, 0, -1, -1},
                {scratch / ".", "", 3, 4, 0, -1, -1},
                {scratch / "no/file", "", 3, 4, 0, -1, -1}};
    for (const auto& [name, content, header, record, count, opened, bytes] : ROWS) {
        WriteFile(path, content);
        BinaryFile file(record, 1);
        EXPECT_EQ(file.openFile(name, BinaryFile::BF_EXTEND, BinaryFile::BF_DENYNO, header), opened)
            << name;
        EXPECT_TRUE(opened == 0 ? file.isOpen() && file.getHeaderSize() == header
                                : !file.isOpen() && file.getHeaderSize() == 1)
            << name;
        EXPECT_EQ(file.getRecordCount(), count) << content;
        EXPECT_EQ(file.getFileName(), opened == 0 ? name : "");
        EXPECT_EQ(file.getFileMode(),
                  opened == 0 ? BinaryFile::BF_EXTEND : BinaryFile::BF_READONLY);
        EXPECT_EQ(file.getShareMode(), opened == 0 ? BinaryFile::BF_DENYNO : BinaryFile::BF_DENYWR);
        EXPECT_EQ(file.readFile(1), count > 0 ? RECORD : 0) << content;
        EXPECT_EQ(file.readHeader(), bytes) << content;
        EXPECT_TRUE(bytes < 0 ||
                    std::equal(content.begin(), content.begin() + bytes, file.getHeaderBuffer()))
            << content;
    }
}

TEST_F(BinaryFileTest, AddsNoRecordThatHasNoNumber) {
    for (const auto& [mode, step] :
         {std::pair(BinaryFile::BF_APPEND, "c"), std::pair(BinaryFile::BF_EXTEND, "w4294967295")}) {
        std::filesystem::resize_file(path, 0xFFFFFFFE);
        BinaryFile file(1, 0);
        ASSERT_EQ(file.openFile(path, mode, BinaryFile::BF_DENYNO, 0), 0);
        std::filesystem::resize_file(path, 0x100000002);  // Others have been busy.
        EXPECT_EQ(Do(file, step), -3);
        EXPECT_EQ(file.getRecordCount(), 0xFFFFFFFF);
    }
}

TEST_F(BinaryFileTest, KeepsItsLocksAsLongAsItsProcessWants) {
    BinaryFile file(RECORD, 0), other(RECORD, 0);
    EXPECT_EQ(Open(file, BinaryFile::BF_UPDATE) + Do(file, "R") + Do(file, "r2"), 7);
    EXPECT_TRUE(file.isHeaderLocked());
    EXPECT_EQ(EndOf(StartProcess([&] { return file.closeFile(); })), 0);
    EXPECT_EQ(Locked(), "h2") << "a child that closes its copy";
    const pid_t child = StartProcess(pause);
    EXPECT_EQ(file.closeFile(), 0);
    EXPECT_EQ(Locked(), "") << "a child that lives on";
    EXPECT_EQ(Open(other, BinaryFile::BF_UPDATE, BinaryFile::BF_DENYRW), 0);
    kill(child, SIGKILL);
    EXPECT_EQ(EndOf(child), -SIGKILL);
}

TEST_F(BinaryFileTest, TakesTurnsAtALock) {
    frozenTime = BEFORE_THE_WRAP;
    BinaryFile first(RECORD, 0), second(RECORD, 0);
    EXPECT_EQ(Open(first, BinaryFile::BF_UPDATE) + Open(second, BinaryFile::BF_UPDATE), 0);
    EXPECT_EQ(Do(first, "r2"), RECORD);
    std::string whileItWaits;
    atPause = [&] {
        whileItWaits = Locked();
        Do(first, "w2");
    };
    EXPECT_EQ(Do(second, "r2"), RECORD);
    EXPECT_EQ(whileItWaits, "2q");
    EXPECT_EQ(Locked(), "2") << "nobody waits any more";
    // Whoever gave the lock up lets those who wait go first, unless they don't go.
    EXPECT_EQ(Do(second, "w2"), RECORD);
    SetLock(F_WRLCK, PLACE_OF_2);
    const long start = frozenTime;
    EXPECT_EQ(Do(second, "r2"), RECORD);
    EXPECT_EQ((frozenTime.exchange(-1) - start) / 100, 5);
}

TEST_F(BinaryFileTest, GivesUpTenSecondsAfterAnothersLock) {
    frozenTime = BEFORE_THE_WRAP;
    BinaryFile holder(RECORD, 0), other(RECORD, 0), third(RECORD, 0);
    EXPECT_EQ(holder.openFile(path, BinaryFile::BF_UPDATE, BinaryFile::BF_DENYNO, 99), 0);
    EXPECT_EQ(Open(other, BinaryFile::BF_EXTEND) + Open(third, BinaryFile::BF_EXTEND), 0);
    EXPECT_EQ(Do(other, "r1") + Do(other, "w1"), 2 * RECORD);
    EXPECT_EQ(holder.readHeader(), 15);  // Holds also what is to be added.
    const std::pair<const char*, int> ROWS[] = {
        {"r2", -10}, {"w2", -10}, {"w4", -10}, {"R", -9}, {"W", -9}};
    for (const auto& [step, result] : ROWS) {
        const long start = frozenTime;
        EXPECT_EQ(Do(other, step), result) << step;
        EXPECT_EQ(errno, EAGAIN) << step;
        EXPECT_EQ((frozenTime - start) / 100, 100) << step;
        EXPECT_EQ(other.getLockedRecord(), 0u) << step;
        EXPECT_EQ(other.getRecordBuffer()[0], '1') << step;
    }
    // The end is another lock, for whoever adds.
    SetLock(F_WRLCK, FILE_END);
    BinaryFile appender(RECORD, 0);
    EXPECT_EQ(Open(appender, BinaryFile::BF_APPEND), 0);
    for (const auto& [file, step, result] :
         {std::tuple(&other, "w4", -10), std::tuple(&appender, "c", -1)}) {
        const long start = frozenTime;
        EXPECT_EQ(Do(*file, step), result) << step;
        EXPECT_EQ(errno, EAGAIN) << step;
        EXPECT_EQ((frozenTime - start) / 100, 100) << step;
    }
    SetLock(F_UNLCK, FILE_END);
    // What was added while it waited for the lock stays whole.
    atPause = [&] { EXPECT_TRUE(holder.closeFile() == 0 && Do(third, "w4") == RECORD); };
    EXPECT_EQ(Do(other, "w4"), RECORD);
    EXPECT_EQ(ReadFile(path), std::string("hdr111122223333\0\0\0\0"
                                          "1111",
                                          23));
    // What can't succeed isn't waited for.
    other.closeFile();
    const long start = frozenTime;
    EXPECT_EQ(other.writeFile(1), -10);
    EXPECT_EQ(frozenTime.exchange(-1), start);
}

}  // namespace
