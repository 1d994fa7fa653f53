#include "utilities/values/multitype.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/values/flat_forms.h"

namespace {

/// Opens what derived classes may use.
class Opened : public MultiType {
public:
    using MultiType::MultiType;
    using MultiType::operator=;
    Opened() = default;
    const char* HeldText() const { return m_v.str->c_str(); }
    const void* HeldObject() const { return m_v.str; }
    unsigned __int64 AllBytes() const { return m_v.ull; }
    void Corrupt(TYPE type) { m_type = type; }
    short getCookie() const override { return 7; }
};

void ExpectSame(const MultiType& a, const MultiType& b) {
    unsigned int idA = 1, idB = 2;
    EXPECT_EQ(a.Type(&idA), b.Type(&idB));
    EXPECT_EQ(idA, idB);
    EXPECT_EQ(a.GetValueSize(), b.GetValueSize());
    EXPECT_EQ(a.GetAs<String>(), b.GetAs<String>());
}

TEST(MultiType, HasTheTagAndTheSizeOfWhatItHolds) {
    const std::vector<Flat> flats = FlatForms();
    const unsigned int typeSizes[] = {0, 0, 1, 1, 2, 4, 8, 1, 2, 4, 8, 4, 8, 0, 0};
    for (unsigned int tag = 0; tag < 15; ++tag) {
        SCOPED_TRACE(tag);
        const MultiType& value = flats[tag].value;
        EXPECT_EQ(static_cast<unsigned int>(value.Type()), tag);
        EXPECT_EQ(MultiType::GetTypeSize(value.Type()), typeSizes[tag]);
        EXPECT_EQ(value.IsSigned(), tag != 2 && (tag < 7 || tag > 10));
    }
    for (const int outside : {-1, 15, 16, 2147483647})
        EXPECT_EQ(MultiType::GetTypeSize(static_cast<MultiType::TYPE>(outside)), 0u) << outside;
    EXPECT_EQ(MultiType().getCookie(), -1);
    const Opened derived;
    EXPECT_EQ(static_cast<const MultiType&>(derived).getCookie(), 7);
}

TEST(MultiType, CopiesMovesAndAssignsFromEveryTagToEvery) {
    for (const auto& [from, fromHost, fromBigEndian, fromId] : FlatForms()) {
        ExpectSame(MultiType(from), from);
        for (const auto& [over, host, bigEndian, id] : FlatForms()) {
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
    Opened value("some text"), wide(u"a");
    const void *object = value.HeldObject(), *wideObject = wide.HeldObject();
    value = value.HeldText() + 5;
    EXPECT_EQ(value.GetAs<String>(), "text");
    value = String("other");
    EXPECT_EQ(value.HeldObject(), object);
    wide = u"b";
    wide = WString(u"c");
    EXPECT_EQ(wide.HeldObject(), wideObject);
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
        String text("untouched");
        broken.Get(text);
        EXPECT_EQ(text, "untouched");
    }
}

}  // namespace
