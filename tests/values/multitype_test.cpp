#include "utilities/values/multitype.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using namespace std::string_literals;

/// Opens what derived classes may use.
class Opened : public MultiType {
public:
    using MultiType::MultiType;
    using MultiType::operator=;
    Opened() = default;
    const char* HeldText() const { return m_v.str->c_str(); }
    const void* HeldObject() const { return m_v.str; }
    unsigned __int64 AllBytes() const { return m_v.ull; }
    const unsigned char* Block() const { return m_v.r->Data(); }
    void Corrupt(TYPE type) { m_type = type; }
    void Store(unsigned int size, const void* data, unsigned int id) { StoreRaw(size, data, id); }
    short getCookie() const override { return 7; }
};

/// One value of every tag, in the order of the tags.
std::vector<MultiType> OneOfEach() {
    return {MultiType(),
            MultiType(5, "block", 42),
            MultiType(true),
            MultiType('\x81'),
            MultiType(short(-2)),
            MultiType(-3),
            MultiType(-4ll),
            MultiType(static_cast<unsigned char>(250)),
            MultiType(static_cast<unsigned short>(65000)),
            MultiType(4000000000u),
            MultiType(~0ull),
            MultiType(1.5f),
            MultiType(-2.5),
            MultiType("narrow text that is too long for its object"),
            MultiType(u"wide text that is too long for its object")};
}

void ExpectSame(const MultiType& a, const MultiType& b) {
    unsigned int idA = 1, idB = 2;
    EXPECT_EQ(a.Type(&idA), b.Type(&idB));
    EXPECT_EQ(idA, idB);
    EXPECT_EQ(a.GetValueSize(), b.GetValueSize());
    EXPECT_EQ(a.GetAs<String>(), b.GetAs<String>());
}

TEST(MultiType, HasTheTagAndTheSizesOfWhatItHolds) {
    const struct {
        unsigned int id, typeSize, valueSize;
        bool isSigned;
    } rows[] = {
        {0, 0, 0, true},  {42, 0, 5, true}, {0, 1, 1, false}, {0, 1, 1, true},  {0, 2, 2, true},
        {0, 4, 4, true},  {0, 8, 8, true},  {0, 1, 1, false}, {0, 2, 2, false}, {0, 4, 4, false},
        {0, 8, 8, false}, {0, 4, 4, true},  {0, 8, 8, true},  {0, 0, 44, true}, {0, 0, 84, true},
    };
    const std::vector<MultiType> values = OneOfEach();
    for (std::size_t tag = 0; tag < values.size(); ++tag) {
        SCOPED_TRACE(tag);
        unsigned int id = 99;
        EXPECT_EQ(values[tag].Type(), static_cast<int>(tag));
        EXPECT_EQ(values[tag].Type(&id), static_cast<int>(tag));
        EXPECT_EQ(id, rows[tag].id);
        EXPECT_EQ(MultiType::GetTypeSize(values[tag].Type()), rows[tag].typeSize);
        EXPECT_EQ(values[tag].GetValueSize(), rows[tag].valueSize);
        EXPECT_EQ(values[tag].IsSigned(), rows[tag].isSigned);
    }
    for (const int outside : {-1, 15, 16, 2147483647})
        EXPECT_EQ(MultiType::GetTypeSize(static_cast<MultiType::TYPE>(outside)), 0u) << outside;
    EXPECT_EQ(MultiType("").GetValueSize(), 1u);
    EXPECT_EQ(MultiType(u"").GetValueSize(), 2u);
    EXPECT_EQ(MultiType(u"ab").GetValueSize(), 6u);
    EXPECT_EQ(MultiType(0, nullptr, 7).Type(), MultiType::TYPE_RAW);
    EXPECT_EQ(MultiType().getCookie(), -1);
    const Opened derived(4, nullptr, 0);
    EXPECT_EQ(static_cast<const MultiType&>(derived).getCookie(), 7);
    EXPECT_EQ(std::memcmp(derived.Block(), "\0\0\0\0", 4), 0);
}

TEST(MultiType, CopiesMovesAndAssignsFromEveryTagToEvery) {
    const std::vector<MultiType> values = OneOfEach();
    for (const MultiType& from : values) {
        ExpectSame(MultiType(from), from);
        for (const MultiType& over : values) {
            SCOPED_TRACE(std::to_string(from.Type()) + " over " + std::to_string(over.Type()));
            MultiType value(over);
            value = from;
            ExpectSame(value, from);
            value = static_cast<const MultiType&>(value);
            ExpectSame(value, from);
            MultiType taken(std::move(value));
            ExpectSame(taken, from);
            EXPECT_EQ(value.Type(), MultiType::TYPE_INVALID);
            value = over;
            value = std::move(taken);
            ExpectSame(value, from);
            value.Invalidate();
            value.Invalidate();
            ExpectSame(value, MultiType());
        }
    }
}

TEST(MultiType, ACopyIsOnItsOwn) {
    MultiType text("source"), block(3, "abc", 1);
    MultiType textCopy(text), blockCopy;
    blockCopy = block;
    textCopy = "changed";
    blockCopy = 5;
    EXPECT_EQ(text.GetAs<String>(), "source");
    EXPECT_EQ(block.GetAs<String>(), "abc");
}

TEST(MultiType, AssignmentFromEveryTypeHoldsIt) {
    Opened value;
    const auto expect = [&value](int tag, const char* text) {
        EXPECT_EQ(value.Type(), tag);
        EXPECT_EQ(value.GetAs<String>(), text);
    };
    value = "text", expect(13, "text");
    value = true, expect(2, "1");
    value = '\xFF', expect(3, "-1");
    EXPECT_EQ(value.AllBytes(), 0xFFu) << "the bytes above the datum are zero";
    value = short(-300), expect(4, "-300");
    value = 70000, expect(5, "70000");
    value = -5000000000ll, expect(6, "-5000000000");
    value = static_cast<unsigned char>(255), expect(7, "255");
    EXPECT_EQ(value.AllBytes(), 0xFFu);
    value = static_cast<unsigned short>(65535), expect(8, "65535");
    value = 4294967295u, expect(9, "4294967295");
    value = 18446744073709551615ull, expect(10, "18446744073709551615");
    value = 0.5f, expect(11, "0.5");
    value = 0.25, expect(12, "0.25");
    value = String("s"), expect(13, "s");
    value = WString("w"), expect(14, "w");
    value = u"wide", expect(14, "wide");
}

TEST(MultiType, ATextOverATextKeepsTheObject) {
    Opened value("some text");
    const void* object = value.HeldObject();
    value = value.HeldText() + 5;
    EXPECT_EQ(value.GetAs<String>(), "text");
    value = String("other");
    EXPECT_EQ(value.HeldObject(), object);
    Opened wide(u"a");
    object = wide.HeldObject();
    wide = u"b";
    wide = WString(u"c");
    EXPECT_EQ(wide.HeldObject(), object);
    EXPECT_EQ(wide.GetAs<String>(), "c");
}

TEST(MultiType, ATagOutsideIsReportedAndHoldsNothing) {
    for (const int tag : {-1, 15, 16}) {
        Opened broken;
        broken.Corrupt(static_cast<MultiType::TYPE>(tag));
        MultiType value("released");
        testing::internal::CaptureStderr();
        value = static_cast<const MultiType&>(broken);
        const std::string report = testing::internal::GetCapturedStderr();
        EXPECT_EQ(report.find("ASSERT((false) in: .\\multitype  line "), 0u) << report;
        EXPECT_EQ(report.find('\n'), report.size() - 1);
        EXPECT_EQ(value.Type(), MultiType::TYPE_INVALID);
        int untouched = 17;
        broken.Get(untouched);
        String text("untouched");
        broken.Get(text);
        EXPECT_EQ(untouched, 17);
        EXPECT_EQ(text, "untouched");
    }
}

}  // namespace
