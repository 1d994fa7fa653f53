// Each operation with its first, its second and every further allocation failing in turn: the
// exception passes, nothing leaks, and the object does its work when it is asked again.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <sstream>
#include <utility>

#include "tests/support/report_of.h"
#include "tests/support/scratch.h"
#include "utilities/utilities.h"

namespace {

constexpr int NEVER = -1;

// Of this thread only: what another one does meanwhile is its own matter.
thread_local int allocationsUntilFailure = NEVER;
thread_local long liveAllocations = 0;
thread_local bool answersNull = false;  ///< Where it should throw.

// Out of line, or the compiler sees malloc and free meet new and delete and warns.
[[gnu::noinline]] void* Allocate(std::size_t size) noexcept {
    if (allocationsUntilFailure == 0)
        return nullptr;
    if (allocationsUntilFailure != NEVER)
        --allocationsUntilFailure;
    void* const block = std::malloc(size);
    if (block != nullptr)
        ++liveAllocations;
    return block;
}

[[gnu::noinline]] void Release(void* block) noexcept {
    if (block != nullptr)
        --liveAllocations;
    std::free(block);
}

/// Whether `act` ends by the failure of this allocation, counted from 0.
bool Fails(int allocation, const auto& act) {
    bool hasFailed = false;
    allocationsUntilFailure = allocation;
    try {
        act();
    } catch (const std::bad_alloc&) {
        hasFailed = true;
    }
    allocationsUntilFailure = NEVER;
    return hasFailed;
}

/// `act` works on what it has captured as well as on what it makes.
void Survives(const char* what, const auto& act) {
    act();  // What the libraries and objects keep from the first time on is no leak.
    int allocation = 0;
    for (bool hasFailed = true; hasFailed; allocation += hasFailed) {
        const auto before = std::pair(liveAllocations, OpenDescriptors());
        hasFailed = Fails(allocation, act);
        if (hasFailed)
            act();
        EXPECT_EQ(std::pair(liveAllocations, OpenDescriptors()), before)
            << what << ", allocation " << allocation;
    }
    EXPECT_GT(allocation, 0) << what << " allocates nothing";
}

const char LONG_TEXT[] = "a text that has no room in the object itself, whatever its units are";

}  // namespace

void* operator new(std::size_t size) {
    void* const block = Allocate(size);
    if (block == nullptr && !answersNull)
        throw std::bad_alloc();
    return block;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* block) noexcept { Release(block); }
void operator delete(void* block, std::size_t) noexcept { Release(block); }

TEST(FailingAllocation, LeavesTextsSound) {
    const String text(LONG_TEXT);
    Survives("crossing", [&] { EXPECT_EQ(String(WString(text)), text); });
    Survives("formatting", [] {
        String formatted;
        formatted.Format("%200d", 1);
        EXPECT_EQ(formatted.size(), 200u);
    });
    Survives("a file name", [&text] {
        String path;
        path.SetFilename((text + text).c_str());
        EXPECT_EQ(path, text + text);
    });
    Survives("the parts of a path", [&text] {
        std::string drive, directory, name, extension;
        text.SplitPath(&drive, &directory, &name, &extension);
        EXPECT_EQ(name + extension, text);
    });
}

TEST(FailingAllocation, LeavesValuesSound) {
    MultiType value;
    Survives("copies and texts", [&value] {
        const WString wide(LONG_TEXT);
        value = wide;  // The second time over the text that could not be made.
        const MultiType copy(value);
        value = LONG_TEXT;
        for (const MultiType& same :
             {MultiType(wide), MultiType(wide.c_str()), MultiType(String(LONG_TEXT)), value, copy})
            EXPECT_EQ(same.GetAs<WString>(), wide);
    });
    Survives("flat memory", [&value] {
        for (const auto tag : {MultiType::TYPE_RAW, MultiType::TYPE_STRING})
            EXPECT_TRUE(value.Set(LONG_TEXT, sizeof LONG_TEXT, tag, 0));
    });
}

// A replaced operator new may answer null where it should throw.
TEST(FailingAllocation, ThatThrowsOrAnswersNullLeavesAValueThatCanBeUsedAgain) {
    const MultiType text("text"), wide(u"text"), block(3, "raw", 7);
    const String narrow("text");
    const WString units(u"text");
    MultiType value;
    const struct {
        bool isBlock;
        std::function<void()> act;
    } rows[] = {{true, [&] { value.Set(nullptr, 1, MultiType::TYPE_RAW, 0); }},
                {true, [&] { value = block; }},
                {false, [&] { value = text; }},
                {false, [&] { value = MultiType(text); }},
                {false, [&] { value = MultiType(wide); }},
                {false, [&] { value = MultiType("text"); }},
                {false, [&] { value = MultiType(u"text"); }},
                {false, [&] { value = MultiType(narrow); }},
                {false, [&] { value = MultiType(units); }}};
    const long before = liveAllocations;
    for (const auto& [isBlock, act] : rows) {
        for (const bool isNull : {false, true}) {
            value = u"held";
            answersNull = isNull;
            const std::string report = ReportOf([&] { EXPECT_EQ(Fails(0, act), !isNull); });
            answersNull = false;
            EXPECT_EQ(report, isBlock && isNull ? Asserted("multitype", {"(m_v.r != 0)"}) : "");
            EXPECT_TRUE(!isBlock || value.Type() == MultiType::TYPE_INVALID);
            value = 5;
        }
    }
    EXPECT_EQ(liveAllocations, before);
}

TEST(FailingAllocation, LeavesThreadsAndLocksSound) {
    SystemThread thread("a name that is longer than its object", nullptr);
    Survives("a thread's name", [&thread] {
        thread.setThreadName("a name");
        thread.setThreadName(thread.getThreadName() + LONG_TEXT);
        EXPECT_EQ(thread.getThreadName(), std::string("a name") + LONG_TEXT);
    });
    for (int allocation = 0; allocation < 5; ++allocation) {
        SystemThread one("thread", nullptr);
        bool isCreated = false;
        EXPECT_FALSE(Fails(allocation, [&] { isCreated = one.Create(true, 0); }));
        EXPECT_EQ(one.getHandle() != nullptr, isCreated) << allocation;
        EXPECT_TRUE(isCreated || one.Create(true, 0));
        EXPECT_TRUE(one.Terminate(0));
    }
    const MutexLock mutex(LONG_TEXT);
    Survives("a listing", [] {
        std::ostringstream out;
        out.exceptions(std::ios::badbit);
        showMutexList(out, true);
    });
}

TEST(FailingAllocation, LeavesFilesAndPortsSound) {
    const ScratchDirectory scratch;
    const std::string path = scratch / "file", copy = scratch / "copy", unpacked = scratch / "back";
    WriteFile(path, "11112222");
    BinaryFile file(4, 4);
    Survives("a record file", [&] {
        EXPECT_EQ(file.changeRecordSize(100) + file.changeHeaderSize(50), 0);
        EXPECT_EQ(file.changeRecordSize(4) + file.changeHeaderSize(4), 0);
        EXPECT_EQ(file.openFile(path, BinaryFile::BF_UPDATE, BinaryFile::BF_DENYRW, 0), 0);
        EXPECT_EQ(file.readFile(2), 4);
        file.closeFile();
    });
    Survives("making and removing a file", [&] {
        EXPECT_TRUE(CREAT(copy.c_str(), 0, nullptr) && IsFileExisting(copy.c_str()));
        EXPECT_TRUE(AssureFileRemoved(copy.c_str(), nullptr));
    });
    Survives("compression", [&] {
        struct _stat info;  // No partial result.
        EXPECT_TRUE(!IsFileExisting((copy + ".gz").c_str(), &info) || info.st_size > 0);
        EXPECT_STREQ(ZIP(path.c_str(), copy.c_str(), true), ".gz");
        EXPECT_TRUE(UNZIP(copy.c_str(), unpacked.c_str(), true));
        EXPECT_EQ(ReadFile(unpacked), "11112222");
        EXPECT_EQ(RemoveFile((copy + ".gz").c_str()), 0);
    });
    Survives("a mapped file", [&path] {
        if (MappedFile(path.c_str(), 0, 1).getAddr() == nullptr)
            throw std::bad_alloc();
    });
    SetSerialDevice(0, "/dev/../dev/../dev/ptmx");
    CComm port;
    Survives("a port", [&port] {
        EXPECT_TRUE(port.Open(0, 9600, 'N', 8, 1));
        port.Close();
    });
}

TEST(FailingAllocation, LeavesCachesAndTimesSound) {
    struct Cache : CacheManager {
        Cache() : CacheManager(3, 100) {}
        void writeBackNode(CacheNode*) override {}
    } cache;
    Survives("a cache", [&cache] {
        cache.resizeCache(3);
        cache.resizeCache(100);
        EXPECT_EQ(cache.getAllocatedNodes(), 30u);
        CacheNode* const node = cache.addNodeID_ToWC(7);
        EXPECT_EQ(cache.searchNodeID_InWC(7), node);
    });
    Survives("a time", [] {
        std::ostringstream stream;
        stream.exceptions(std::ios::badbit);
        stream << BqGMTime(1'000'000'000'000) << " and a rest that makes the text a long one";
        EXPECT_NE(stream.str().find(":46:40 "), std::string::npos);
    });
}
