// Operations with their first, their second and every further call of the system, or allocation,
// failing in turn: the documented result comes, nothing is left behind, and the operation works
// when it is tried again.
#include <gtest/gtest.h>

#include <climits>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

#include "tests/faults/failing_calls.h"
#include "tests/support/report_of.h"
#include "tests/support/scratch.h"
#include "tests/support/zone.h"
#include "utilities/utilities.h"

namespace {

// Each operation tells whether all went well, and reports itself what it finds undocumented. What
// is static in it outlives the failure.

const char LONG_TEXT[] = "a text that has no room in the object itself, whatever its units are";

/// A conversion that finds no memory leaves its target as it was.
void ConvertInto(WString target) {
    const WString before = target;
    try {
        target.Assign(std::string(300, 'a') + "\x80" + std::string(300, 'a'));
    } catch (const std::bad_alloc&) {
        EXPECT_EQ(target, before);
        throw;
    }
}

bool MakeTexts() {
    const String text(LONG_TEXT);
    EXPECT_EQ(String(WString(text)), text);
    ConvertInto(u"");
    ConvertInto(u"kept");
    String made;
    made.Format("%200d", 1);
    EXPECT_EQ(made.size(), 200u);
    made.SetFilename((text + text).c_str());
    EXPECT_EQ(made, text + text);
    std::string drive, directory, name, extension;
    text.SplitPath(&drive, &directory, &name, &extension);
    EXPECT_EQ(name + extension, text);
    static SystemThread thread("a name that is longer than its object", nullptr);
    thread.setThreadName("a name");
    thread.setThreadName(thread.getThreadName() + LONG_TEXT);
    EXPECT_EQ(thread.getThreadName(), "a name" + text);
    static const MutexLock mutex(LONG_TEXT);
    std::ostringstream out;
    out.exceptions(std::ios::badbit);
    showMutexList(out, true);
    out << BqGMTime(1'000'000'000'000);
    EXPECT_NE(out.str().find(":46:40 "), std::string::npos);
    return true;
}

const String NARROW(LONG_TEXT);
const WString WIDE(NARROW);
const MultiType TEXT(NARROW), WIDE_TEXT(WIDE), BLOCK(3, "raw", 7);

void (*const ASSIGNMENTS[])(MultiType&) = {
    [](MultiType& value) { value.Set(nullptr, 1, MultiType::TYPE_RAW, 0); },
    [](MultiType& value) { value = BLOCK; },
    [](MultiType& value) { value = TEXT; },
    [](MultiType& value) { value = MultiType(TEXT); },
    [](MultiType& value) { value = MultiType(WIDE_TEXT); },
    [](MultiType& value) { value = MultiType(LONG_TEXT); },
    [](MultiType& value) { value = MultiType(WIDE.c_str()); },
    [](MultiType& value) { value = MultiType(NARROW); },
    [](MultiType& value) { value = MultiType(WIDE); }};

bool HoldValues() {
    static MultiType value;
    for (const auto& assign : ASSIGNMENTS) {
        assign(value);
        EXPECT_TRUE(value.Type() == MultiType::TYPE_RAW || value.GetAs<WString>() == WIDE);
    }
    EXPECT_TRUE(value.Set(LONG_TEXT, sizeof LONG_TEXT, MultiType::TYPE_STRING, 0));
    return true;
}

/// The file's content, read without a failure; nothing where there is none.
std::optional<std::string> ContentOf(const char* path) {
    const int failures = std::exchange(failure.times, 0);
    std::optional<std::string> content;
    if (std::filesystem::exists(path))
        content = ReadFile(path);
    failure.times = failures;
    return content;
}

/// A failure keeps its reason over what cleans up after it.
bool HasReason(bool done) {
    const bool isBusy = failure.error == EACCES && errno == EBUSY;  // As a lock is refused.
    EXPECT_TRUE(done || errno == failure.error || isBusy) << errno;
    return done;
}

bool KeepRecords() {
    constexpr int SIZE = 8;
    static BinaryFile more(SIZE, SIZE);
    BinaryFile file(SIZE, SIZE);
    for (const unsigned int size : {100u, unsigned{SIZE}})
        EXPECT_EQ(file.changeRecordSize(size) + file.changeHeaderSize(size), 0);
    std::filesystem::remove("records");
    if (!HasReason(CREAT("records", 0600, nullptr)) ||
        !HasReason(file.openFile("records", BinaryFile::BF_EXTEND, BinaryFile::BF_DENYNO, SIZE) ==
                   0) ||
        !HasReason(more.openFile("records", BinaryFile::BF_APPEND, BinaryFile::BF_DENYNO, SIZE) ==
                   0))
        return false;
    const unsigned int known = more.getRecordCount();
    unsigned int written = file.writeHeader() == SIZE;
    for (unsigned int record = 1; record <= 2; ++record) {
        const unsigned int count = file.getRecordCount();
        const bool isWritten = HasReason(file.writeFile(record) == SIZE);
        EXPECT_EQ(file.getRecordCount(), count + isWritten);
        written += isWritten;
    }
    const bool isRead = file.readFile(1) == SIZE && file.writeCurrent() == SIZE;
    EXPECT_TRUE(file.closeFile() == 0 || file.closeFile() == 0);
    const std::size_t size = ContentOf("records")->size();
    EXPECT_EQ(size % SIZE, 0u) << "a part of a record";

    const bool isAdded = HasReason(more.writeCurrent() == SIZE);
    EXPECT_TRUE(isAdded || (more.getCurrentRecord() == 0 && more.getRecordCount() == known));
    EXPECT_TRUE(more.closeFile() == 0 || more.closeFile() == 0);
    EXPECT_EQ(ContentOf("records")->size(), size + (isAdded ? SIZE : 0)) << "a part of a record";
    BinaryFile alone(SIZE, SIZE);
    const bool isInOrder =
        alone.openFile("records", BinaryFile::BF_READONLY, BinaryFile::BF_DENYWR, SIZE) == 0 &&
        alone.readFile(1) + alone.readFile(2) == 2 * SIZE;
    return isAdded && isRead && isInOrder && written == 3 && AssureFileRemoved("records", nullptr);
}

bool MapAFile() {
    std::filesystem::remove("mapped");
    WriteFile("mapped", "content");
    const bool isMapped = HasReason(MappedFile("mapped", 2, 10000).getAddr() != nullptr);
    const std::string_view failed = failure.failed;
    EXPECT_TRUE(isMapped || (failed != "fallocate" && failed != "pwrite") ||
                ContentOf("mapped") == "content, and more");
    return isMapped && ContentOf("mapped")->size() == 10000;
}

bool Compress() {
    for (const char* file : {"packed.gz", "result"}) {
        EXPECT_TRUE(failure.error != ENOMEM || ContentOf(file) != "") << "a file of nothing";
        std::filesystem::remove(file);
    }
    const bool packed = HasReason(*ZIP("source", "packed", true) != '\0');
    EXPECT_EQ(!ContentOf("packed.gz").value_or("").empty(), packed) << "a partial file";
    const bool unpacked = packed && HasReason(UNZIP("packed", "result", true));
    EXPECT_EQ(ContentOf("result").value_or(""), unpacked ? "text" : "") << "a partial file";
    return unpacked;
}

// After a failure that may pass, the same zone is read again.
bool ReadTheZone() noexcept {
    const bool isReadAgain =
        failure.times == 0 && (failure.error == EIO || failure.error == ENOMEM);
    for (const char* zone : {isReadAgain ? "Europe/Berlin" : "UTC", "Europe/Berlin"}) {
        setenv("TZ", zone, 1);
        BqLocalDate().set(1, 1, 2000);
    }
    bool success = false;
    const std::int32_t summer = 1'750'000'000;
    const struct tm fields = BqGMTime::localtime(&summer, &success);
    EXPECT_TRUE(success);
    return fields.tm_isdst == 1;
}

bool RunThreads() noexcept {
    static EventLock never(true);
    SystemThread thread("thread", [](SystemThread*) { return never.Wait() ? 1U : 0U; });
    if (!thread.Create(true, 0)) {
        EXPECT_EQ(thread.getHandle(), nullptr);
        failure.times = 0;
        EXPECT_TRUE(thread.Create(true, 0));
        EXPECT_TRUE(thread.Terminate(0));
        return false;
    }
    const bool resumed = thread.Resume() == 1;
    const bool stopped = thread.Suspend() == 0 && thread.Resume() == 1;
    const bool killed = thread.Terminate(3);
    EXPECT_EQ(thread.getExitCode(), killed ? 3u : 0u);
    return resumed && stopped && killed;
}

bool UseAPort() {
    SetSerialDevice(0, "/dev/../dev/../dev/ptmx");
    static CComm port;
    if (!HasReason(port.Open(0, 9600, 'E', 7, 2))) {
        EXPECT_FALSE(port.IsPortOpen());
        return false;
    }
    unsigned char bytes[] = {1, 2, 3};
    const bool sent = port.TxBuffer(bytes, sizeof bytes, false) == 1;
    const bool isSet = port.SetPortA(19200, 'N', 8, 1);
    port.UseRtsCts(true);
    port.ClearRXBuffer();
    const bool isEmpty = port.RxSize() == 0 && port.TxSize() == 0;
    port.Close();
    return sent && isSet && isEmpty;
}

bool UseACache() {
    struct Cache : CacheManager {
        Cache() : CacheManager(3, 100) {}
        void writeBackNode(CacheNode*) override {}
    };
    static Cache cache;
    cache.resizeCache(3);
    cache.resizeCache(100);
    EXPECT_EQ(cache.getAllocatedNodes(), 30u);
    CacheNode* const node = cache.addNodeID_ToWC(7);
    EXPECT_EQ(cache.searchNodeID_InWC(7), node);
    return Cache().getAllocatedNodes() == 3;
}

/// Without memory it ends by an exception.
bool Does(bool (*act)()) {
    try {
        return act();
    } catch (const std::bad_alloc&) {
        EXPECT_EQ(failure.error, ENOMEM);
        return false;
    }
}

constexpr std::pair<const char*, bool (*)()> OPERATIONS[] = {
    {"texts", MakeTexts},        {"values", HoldValues},    {"records", KeepRecords},
    {"a mapped file", MapAFile}, {"compression", Compress}, {"the zone", ReadTheZone},
    {"threads", RunThreads},     {"a port", UseAPort},      {"a cache", UseACache}};

// A full disk is full for the next call, too, and memory may come again or not. A file system that
// can't allocate has other ways, which may fail as well.
constexpr std::pair<int, int> ERRORS[] = {{EIO, 1},        {EINTR, 1},     {ENOSPC, 2},
                                          {EACCES, 1},     {ENOMEM, 1},    {ENOMEM, INT_MAX},
                                          {EOPNOTSUPP, 1}, {EOPNOTSUPP, 2}};

}  // namespace

TEST(FailingCall, LeavesEverythingSound) {
    const ScopedZone zone("UTC");
    const ScratchWorkingDirectory directory;
    WriteFile("source", "text");
    for (const auto& [what, act] : OPERATIONS) {
        int failures = 0;
        for (const auto& [error, times] : ERRORS) {
            for (int call = 0;; ++call) {
                SCOPED_TRACE(testing::Message()
                             << what << ", error " << error << ", call " << call);
                const long allocations = liveAllocations;
                const auto descriptors = OpenDescriptors();
                failure = {error, call, times};
                const bool done = Does(act);
                failure.times = 0;
                const std::string_view failed = failure.failed;
                if (failed.empty())
                    break;
                EXPECT_TRUE(done || error != EINTR) << failed << " was interrupted";
                EXPECT_TRUE(act()) << "after " << failed;
                EXPECT_EQ(OpenDescriptors(), descriptors) << failed;
                // What is kept from the first time on is no leak.
                EXPECT_TRUE(liveAllocations == allocations || error == ERRORS[0].first) << failed;
                ++failures;
            }
        }
        EXPECT_GT(failures, 0) << what << " calls nothing";
    }
}

TEST(FailingCall, ThatTellsOfALateWriteLeavesTheFileOpen) {
    const ScratchWorkingDirectory directory;
    WriteFile("records", "hr");
    BinaryFile file(1, 1);
    EXPECT_EQ(file.openFile("records", BinaryFile::BF_UPDATE, BinaryFile::BF_DENYNO, 1), 0);
    EXPECT_EQ(file.readHeader() + file.readFile(1), 2);
    failure = {.error = EIO, .times = 1, .only = "close"};
    EXPECT_EQ(file.closeFile(), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_TRUE(file.isOpen());
    EXPECT_TRUE(file.isHeaderLocked());
    EXPECT_EQ(file.getLockedRecord(), 0u);
    EXPECT_EQ(file.closeFile(), 0);
    failure = {};
}

// A replaced operator new may answer null where it should throw.
TEST(FailingAllocation, ThatAnswersNullLeavesAValueThatCanBeUsedAgain) {
    const long before = liveAllocations;
    for (const auto& assign : ASSIGNMENTS) {
        const auto row = &assign - ASSIGNMENTS;
        MultiType value(u"held");
        const std::string report = ReportOf([&] {
            failure = {ENOMEM, 0, INT_MAX, true};
            assign(value);
            failure.times = 0;
        });
        EXPECT_EQ(report, row < 2 ? Asserted("multitype", {"(m_v.r != 0)"}) : "") << row;
        EXPECT_TRUE(row >= 2 || value.Type() == MultiType::TYPE_INVALID) << row;
        assign(value);
        value = 5;
    }
    EXPECT_EQ(liveAllocations, before);
}
