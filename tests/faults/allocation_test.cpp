// Each operation with its first, its second and every further allocation failing in turn: the
// exception passes, nothing leaks, and the object does its work when it is asked again.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <sstream>

#include "tests/support/scratch.h"
#include "utilities/utilities.h"

namespace {

constexpr int NEVER = -1;

// Of this thread only: what another one does meanwhile is its own matter.
thread_local int allocationsUntilFailure = NEVER;
thread_local long liveAllocations = 0;
thread_local bool answersNull = false;

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

template <class Make, class Act>
bool SurvivesFailureOf(int allocation, Make make, Act act) {
    auto subject = make();
    bool hasFailed = false;
    allocationsUntilFailure = allocation;
    try {
        act(*subject);
    } catch (const std::bad_alloc&) {
        hasFailed = true;
    }
    allocationsUntilFailure = NEVER;
    if (hasFailed)
        act(*subject);
    return !hasFailed;
}

/// Runs `act` on what `make` makes.
template <class Make, class Act>
void Survives(const char* what, Make make, Act act) {
    // What the libraries keep from the first time on is no leak.
    SurvivesFailureOf(NEVER, make, act);
    int allocation = 0;
    for (bool isDone = false; !isDone; ++allocation) {
        const std::ptrdiff_t descriptors = OpenDescriptors();
        const long before = liveAllocations;
        isDone = SurvivesFailureOf(allocation, make, act);
        EXPECT_EQ(liveAllocations, before) << what << ", allocation " << allocation;
        EXPECT_EQ(OpenDescriptors(), descriptors) << what << ", allocation " << allocation;
    }
    EXPECT_GT(allocation, 1) << what << " allocates nothing";
}

const char LONG_TEXT[] = "a text that has no room in the object itself, whatever its units are";

}  // namespace

void* operator new(std::size_t size) {
    void* const block = Allocate(size);
    if (block == nullptr && !answersNull)
        throw std::bad_alloc();
    return block;
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* block) noexcept { Release(block); }
void operator delete[](void* block) noexcept { Release(block); }
void operator delete(void* block, std::size_t) noexcept { Release(block); }
void operator delete[](void* block, std::size_t) noexcept { Release(block); }

TEST(FailingAllocation, LeavesTextsSound) {
    const auto narrow = [] { return std::make_unique<String>(LONG_TEXT); };
    const auto wide = [] { return std::make_unique<WString>(LONG_TEXT); };
    Survives("widening", narrow, [](String& text) { EXPECT_FALSE(WString(text).empty()); });
    Survives("narrowing", wide, [](WString& text) { EXPECT_FALSE(String(text).empty()); });
    Survives("formatting", narrow, [](String& text) {
        text.Format("%200d", 1);
        EXPECT_EQ(text.size(), 200u);
    });
    Survives("a file name", narrow, [](String& text) {
        text.SetFilename((std::string(LONG_TEXT) + LONG_TEXT).c_str());
        EXPECT_EQ(text, std::string(LONG_TEXT) + LONG_TEXT);
    });
    Survives("the parts of a path", narrow, [](String& text) {
        std::string drive, directory, name, extension;
        text.SplitPath(&drive, &directory, &name, &extension);
        EXPECT_EQ(name + extension, LONG_TEXT);
    });
}

TEST(FailingAllocation, LeavesValuesSound) {
    const auto text = [] { return std::make_unique<MultiType>(String(LONG_TEXT)); };
    Survives("a copy", text,
             [](MultiType& value) { EXPECT_EQ(MultiType(value).GetAs<String>(), LONG_TEXT); });
    Survives("making", text, [](MultiType& value) {
        const WString wide = value.GetAs<WString>();
        const MultiType made[] = {LONG_TEXT, wide.c_str(), String(LONG_TEXT), wide, value};
        for (const MultiType& one : made)
            EXPECT_EQ(one.GetAs<String>(), LONG_TEXT);
        EXPECT_EQ(MultiType(MultiType(wide)).GetAs<String>(), LONG_TEXT);
    });
    Survives("an assignment", text, [](MultiType& value) {
        MultiType other{WString(LONG_TEXT)};
        other = value;
        EXPECT_EQ(other.Type(), MultiType::TYPE_STRING);
    });
    Survives("the other width", text,
             [](MultiType& value) { EXPECT_EQ(value.GetAs<WString>(), WString(LONG_TEXT)); });
    Survives("flat memory", text, [](MultiType& value) {
        EXPECT_TRUE(value.Set(LONG_TEXT, sizeof LONG_TEXT, MultiType::TYPE_STRING, 0));
    });
}

// A replaced operator new may answer null where it should throw.
TEST(FailingAllocation, ThatAnswersNullLeavesAValueThatCanBeUsedAgain) {
    const MultiType text("text"), wide(u"text"), block(3, "raw", 7);
    const long before = liveAllocations;
    static const String narrow;
    static const WString units;
    for (const auto& make : {+[](const MultiType&) { return MultiType("text"); },
                             +[](const MultiType&) { return MultiType(u"text"); },
                             +[](const MultiType&) { return MultiType(narrow); },
                             +[](const MultiType&) { return MultiType(units); },
                             +[](const MultiType& held) { return MultiType(held); },
                             +[](const MultiType& held) {
                                 MultiType value;
                                 value = held;
                                 return value;
                             }}) {
        for (const MultiType* held : {&text, &wide, &block}) {
            answersNull = true;
            allocationsUntilFailure = 0;
            MultiType value = make(*held);
            allocationsUntilFailure = NEVER;
            answersNull = false;
            EXPECT_TRUE(value.Type() != MultiType::TYPE_RAW);
            value = 5;
            EXPECT_EQ(value.GetAs<int>(), 5);
        }
    }
    EXPECT_EQ(liveAllocations, before);
}

TEST(FailingAllocation, LeavesThreadsAndLocksSound) {
    const auto thread = [] {
        return std::make_unique<SystemThread>("a name that is longer than its object", nullptr);
    };
    Survives("a thread's name", thread, [](SystemThread& one) {
        one.setThreadName(one.getThreadName() + LONG_TEXT);
        EXPECT_EQ(one.getThreadName().substr(0, 6), "a name");
    });
    for (int allocation = 0; allocation < 5; ++allocation) {
        SystemThread one("thread", nullptr);
        allocationsUntilFailure = allocation;
        const bool isCreated = one.Create(true, 0);
        allocationsUntilFailure = NEVER;
        EXPECT_EQ(one.getHandle() != nullptr, isCreated) << allocation;
        EXPECT_TRUE(isCreated || one.Create(true, 0));
        EXPECT_TRUE(one.Terminate(0));
    }
    Survives(
        "a listing", [] { return std::make_unique<MutexLock>(LONG_TEXT); },
        [](MutexLock&) {
            std::ostringstream out;
            out.exceptions(std::ios::badbit);
            showMutexList(out, true);
        });
}

TEST(FailingAllocation, LeavesFilesCachesAndTimesSound) {
    const ScratchDirectory scratch;
    WriteFile(scratch / "file", "11112222");
    const auto nothing = [] { return std::make_unique<int>(); };
    const auto file = [] { return std::make_unique<BinaryFile>(4, 4); };
    Survives("a record file", file, [&](BinaryFile& one) {
        EXPECT_EQ(one.openFile(scratch / "file", BinaryFile::BF_UPDATE, BinaryFile::BF_DENYRW, 0),
                  0);
        EXPECT_EQ(one.readFile(2), 4);
    });
    Survives("a size", file, [](BinaryFile& one) {
        EXPECT_EQ(one.changeRecordSize(100), 0);
        EXPECT_EQ(one.changeHeaderSize(50), 0);
    });
    struct Cache : CacheManager {
        Cache() : CacheManager(3, 100) {}
        void writeBackNode(CacheNode*) override {}
    };
    Survives(
        "a cache", [] { return std::make_unique<Cache>(); },
        [](Cache& cache) {
            cache.resizeCache(100);
            EXPECT_EQ(cache.getAllocatedNodes(), 30u);
            CacheNode* const node = cache.addNodeID_ToWC(7);
            EXPECT_EQ(cache.searchNodeID_InWC(7), node);
        });
    const auto out = [] {
        auto stream = std::make_unique<std::ostringstream>();
        stream->exceptions(std::ios::badbit);
        return stream;
    };
    Survives("a time", out, [](std::ostringstream& stream) {
        stream.clear();
        stream << BqGMTime(1'000'000'000'000) << " and a rest that makes the text a long one";
        EXPECT_NE(stream.str().find(":46:40 "), std::string::npos);
    });
    Survives("a mapped file", nothing, [&](int&) {
        if (MappedFile((scratch / "file").c_str(), 0, 1).getAddr() == nullptr)
            throw std::bad_alloc();
    });
    Survives("the state of a file", nothing,
             [&](int&) { EXPECT_TRUE(IsFileExisting((scratch / "file").c_str(), nullptr)); });
    const std::string source = scratch / "file", packed = source + ".gz";
    Survives("a compression", nothing, [&](int&) {
        struct _stat info;
        EXPECT_TRUE(!IsFileExisting(packed.c_str(), &info) || info.st_size > 0);
        EXPECT_STREQ(ZIP(source.c_str(), source.c_str(), true), ".gz");
        std::remove(packed.c_str());
    });
    SetSerialDevice(0, "/dev/ptmx");
    Survives(
        "a port", [] { return std::make_unique<CComm>(); },
        [](CComm& port) { EXPECT_TRUE(port.Open(0, 9600, 'N', 8, 1)); });
}
