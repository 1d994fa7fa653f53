#include "utilities/values/multitype.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "tests/support/report_of.h"
#include "tests/values/flat_forms.h"

namespace {

/// Opens what derived classes may use.
class Opened : public MultiType {
public:
    using MultiType::MultiType;
    using MultiType::operator=;
    const Datum& Held() const { return m_v; }
    short getCookie() const override { return 7; }
};

void ExpectSame(const MultiType& a, const MultiType& b) {
    unsigned int idA = 1, idB = 2;
    EXPECT_EQ(a.Type(&idA), b.Type(&idB));
    EXPECT_EQ(idA, idB);
    EXPECT_EQ(a.GetAs<String>(), b.GetAs<String>());
    EXPECT_EQ(a.GetAs<WString>(), b.GetAs<WString>());
}

TEST(MultiType, HasTheTagAndTheSizeOfWhatItHolds) {
    const std::vector<Flat> flats = FlatForms();
    for (unsigned int tag = 0; tag < 15; ++tag) {
        const MultiType& value = flats[tag].value;
        EXPECT_EQ(static_cast<unsigned int>(value.Type()), tag);
        EXPECT_EQ(value.GetValueSize(), flats[tag].host.size()) << tag;
        const bool isInline = tag >= 2 && tag <= 12;
        EXPECT_EQ(MultiType::GetTypeSize(value.Type()), isInline ? value.GetValueSize() : 0) << tag;
        EXPECT_EQ(value.IsSigned(), tag != 2 && (tag < 7 || tag > 10)) << tag;
    }
    EXPECT_EQ(MultiType().getCookie(), -1);
    const Opened derived(1);
    EXPECT_EQ(static_cast<const MultiType&>(derived).getCookie(), 7);
}

TEST(MultiType, CopiesMovesAndAssignsFromEveryTagToEvery) {
    for (const Flat& from : FlatForms()) {
        for (const Flat& over : FlatForms()) {
            SCOPED_TRACE(from.text + " over " + over.text);
            MultiType value(over.value);
            value = from.value;
            value = static_cast<const MultiType&>(value);
            MultiType taken(std::move(value));
            ExpectSame(value, MultiType());
            value = over.value;
            value = std::move(taken);
            ExpectSame(value, from.value);
            value.Invalidate(), value.Invalidate();
            ExpectSame(value, MultiType());
        }
    }
}

TEST(MultiType, AssignmentFromEveryTypeHoldsIt) {
    Opened value("released");
    ForEachNumber([&value]<class T>(T most) {
        most = std::numeric_limits<T>::max();
        value = ~0ull;
        value = most;
        ExpectSame(value, most);
        unsigned __int64 bytes = 0;
        std::memcpy(&bytes, &most, sizeof most);
        EXPECT_EQ(value.Held().ull, bytes) << "the bytes above the datum are zero";
    });
    const auto expect = [&value](const auto& text) {
        value = 1;
        value = text;
        ExpectSame(value, text);
    };
    expect("narrow"), expect(u"wide"), expect(String("s")), expect(WString(u"w"));
}

TEST(MultiType, ATextOverATextKeepsTheObjectAndItsMemory) {
    Opened value("text of more than its object holds"), wide(u"wide text of more than that");
    const void *space = value.Held().str->data(), *wideSpace = wide.Held().wstr->data();
    value = value.Held().str->c_str() + 5;
    EXPECT_EQ(value.GetAs<String>(), "of more than its object holds");
    value = String("other");
    wide = u"b";
    wide = WString(u"c");
    EXPECT_EQ(value.Held().str->data(), space);
    EXPECT_EQ(wide.Held().wstr->data(), wideSpace);
}

TEST(MultiType, ATagOutsideIsReportedAndHoldsNothing) {
    for (const int tag : {-1, 15, 16}) {
        const Tagged broken(tag);
        MultiType value("released");
        EXPECT_EQ(ReportOf([&] { value = static_cast<const MultiType&>(broken); }),
                  Asserted("multitype", {"(false)"}));
        EXPECT_EQ(value.Type(), MultiType::TYPE_INVALID);
        EXPECT_EQ(broken.GetValueSize(), 0u);
        String text("untouched");
        broken.Get(text);
        EXPECT_EQ(text, "untouched");
        ForEachNumber([&broken](auto number) {
            broken.Get(number = 1);
            EXPECT_EQ(number, 1);
        });
    }
}

}  // namespace
