#include <gtest/gtest.h>

#include <tuple>

#include "tests/values/flat_forms.h"

namespace {

using namespace std::string_literals;
using Type = MultiType::TYPE;

using Getter = bool (MultiType::*)(void*, unsigned int&, Type*, unsigned int*) const;
using Setter = bool (MultiType::*)(const void*, unsigned int, Type, unsigned int);

void CheckGetter(const Flat& flat, Getter get, const std::string& form) {
    const auto needed = static_cast<unsigned int>(form.size());
    for (const unsigned int given : {0u, needed == 0 ? 0 : needed - 1, needed, needed + 100}) {
        std::string room(given + 2, '#'), expected = room;
        unsigned int size = given, id = 99;
        Type type = static_cast<Type>(99);
        // One byte on, so that no form is aligned.
        EXPECT_EQ((flat.value.*get)(room.data() + 1, size, &type, &id), given >= needed);
        EXPECT_EQ(std::tuple(size, type, id), std::tuple(needed, flat.value.Type(), flat.id));
        EXPECT_EQ(room, given < needed ? expected : expected.replace(1, needed, form)) << given;
        EXPECT_EQ((flat.value.*get)(nullptr, size, nullptr, nullptr), needed == 0);
    }
}

void ExpectHolds(const MultiType& value, const Flat& flat) {
    unsigned int size = 99, id = 99;
    Type type = static_cast<Type>(99);
    const void* bytes = value.GetBuffer(&size, &type, &id);
    EXPECT_EQ(bytes == nullptr, type == MultiType::TYPE_INVALID);
    EXPECT_EQ(std::string(static_cast<const char*>(bytes), size), flat.host);
    EXPECT_EQ(std::tuple(type, id), std::tuple(flat.value.Type(), flat.id));
    EXPECT_EQ(value.GetBuffer(nullptr, nullptr, nullptr), bytes);
}

void CheckSetter(const Flat& flat, Setter set, const std::string& form) {
    std::vector<char> room(form.size() + 1);
    form.copy(room.data() + 1, form.size());
    for (MultiType value : {MultiType(), MultiType("held"), MultiType(5, "block", 3)}) {
        const auto size = static_cast<unsigned int>(form.size());
        EXPECT_TRUE((value.*set)(room.data() + 1, size, flat.value.Type(), flat.id));
        ExpectHolds(value, flat);
    }
}

TEST(Buffers, EveryTagCrossesInBothOrders) {
    for (const Flat& flat : FlatForms()) {
        SCOPED_TRACE("tag " + std::to_string(flat.value.Type()));
        ExpectHolds(flat.value, flat);
        CheckGetter(flat, &MultiType::Get, flat.host);
        CheckGetter(flat, &MultiType::GetBigEndianFormatted, flat.bigEndian);
        CheckSetter(flat, &MultiType::Set, flat.host);
        CheckSetter(flat, &MultiType::SetBigEndianFormatted, flat.bigEndian);
    }
}

TEST(Buffers, SettingTellsWhatIsTooSmallAndKeepsTheValue) {
    const unsigned int least[] = {0, 0, 1, 1, 2, 4, 8, 1, 2, 4, 8, 4, 8, 1, 2};
    for (int tag = -1; tag <= 16; ++tag) {
        SCOPED_TRACE(tag);
        const bool known = tag >= 0 && tag < 15;
        const unsigned int smallest = known ? least[tag] : 100;
        for (const Setter set : {&MultiType::Set, &MultiType::SetBigEndianFormatted}) {
            MultiType value("held");
            EXPECT_TRUE(smallest == 0 ||
                        !(value.*set)("1234567", smallest - 1, static_cast<Type>(tag), 1));
            EXPECT_EQ(value.GetAs<String>(), "held");
            EXPECT_EQ((value.*set)(nullptr, smallest, static_cast<Type>(tag), 4), known);
            EXPECT_EQ(value.Type(), known ? tag : MultiType::TYPE_STRING);
            EXPECT_EQ(value.GetAs<double>(), 0.0);
            EXPECT_EQ(value.GetValueSize(), known ? smallest : sizeof "held");
        }
    }
    MultiType value;
    EXPECT_TRUE(value.Set(nullptr, 5, MultiType::TYPE_RAW, 9));
    EXPECT_EQ(value.GetAs<String>(), "\0\0\0\0\0"s);
    EXPECT_TRUE(value.Set("xy", 1, MultiType::TYPE_STRING, 0));
    EXPECT_EQ(value.GetAs<String>(), "xy") << "the size bounds no text";
    EXPECT_TRUE(value.Set("\5", 1, MultiType::TYPE_BOOL, 0));
    EXPECT_EQ(value.GetAs<String>(), "5");
    value = 0x01020304;
    EXPECT_TRUE(value.SetBigEndianFormatted(value.GetBuffer(nullptr, nullptr, nullptr), 4,
                                            MultiType::TYPE_INT, 0));
    EXPECT_EQ(value.GetAs<int>(), 0x04030201) << "the buffer may be the value's own";
}

TEST(Buffers, TypedFormsAreThoseOfTheReading) {
    struct Row {
        MultiType value;
        int type;
        std::string form;
    };
    for (const auto& row :
         {Row{300, 2, "\1"}, Row{300, 3, "\x7F"}, Row{300, 4, "\x2C\1"},
          Row{-1, 6, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"}, Row{300, 7, "\xFF"},
          Row{"300x", 8, "\x2C\1"}, Row{-1, 9, "\0\0\0\0"s}, Row{1, 11, "\0\0\x80\x3F"s},
          Row{"1", 12, "\0\0\0\0\0\0\xF0\x3F"s}, Row{300, 13, "300\0"s},
          Row{"AB", 14, "A\0B\0\0\0"s}, Row{{3, "xyz", 5}, 1, "xyz"}, Row{300, 0, ""},
          Row{300, 15, ""}, Row{300, -1, ""}}) {
        SCOPED_TRACE(row.type);
        const auto type = static_cast<Type>(row.type);
        const auto needed = static_cast<unsigned int>(row.form.size());
        EXPECT_EQ(row.value.GetTypedValueSize(type), needed);
        std::string room(needed + 2, '#'), untouched = room;
        unsigned int size = needed - 1, id = 99;
        EXPECT_EQ(row.value.GetTyped(room.data(), size, type, nullptr), needed == 0);
        EXPECT_EQ(size, needed);
        EXPECT_EQ(room, untouched);
        EXPECT_TRUE(row.value.GetTyped(room.data() + 1, size, type, &id));
        EXPECT_EQ(room, '#' + row.form + '#');
        EXPECT_EQ(id, row.type == 1 ? 5u : 0u);
    }
    unsigned int size = 100, id = 99;
    char byte = '#';
    EXPECT_FALSE(MultiType("no block").GetTyped(&byte, size, MultiType::TYPE_RAW, &id));
    EXPECT_EQ(std::tuple(size, id, byte), std::tuple(0u, 0u, '#'));
}

}  // namespace
