#include <gtest/gtest.h>

#include <functional>
#include <tuple>

#include "tests/values/flat_forms.h"

namespace {

using namespace std::string_literals;
using Type = MultiType::TYPE;

using Getter = bool (MultiType::*)(void*, unsigned int&, Type*, unsigned int*) const;
using Setter = bool (MultiType::*)(const void*, unsigned int, Type, unsigned int);

bool GetAsItsOwnType(const MultiType& value, void* buffer, unsigned int& size, Type* type,
                     unsigned int* id) {
    if (type != nullptr)
        *type = value.Type();
    EXPECT_EQ(value.GetTypedValueSize(value.Type()), value.GetValueSize());
    return value.GetTyped(buffer, size, value.Type(), id);
}

void CheckGetter(const Flat& flat, auto get, const std::string& form) {
    const auto needed = static_cast<unsigned int>(form.size());
    for (const unsigned int given : {0u, needed == 0 ? 0 : needed - 1, needed, needed + 100}) {
        std::string room(given + 2, '#'), expected = room;
        unsigned int size = given, id = 99;
        Type type = static_cast<Type>(99);
        // One byte on, so that no form is aligned.
        EXPECT_EQ(std::invoke(get, flat.value, room.data() + 1, size, &type, &id), given >= needed);
        EXPECT_EQ(std::tuple(size, type, id), std::tuple(needed, flat.value.Type(), flat.id));
        EXPECT_EQ(room, given < needed ? expected : expected.replace(1, needed, form)) << given;
        EXPECT_EQ(std::invoke(get, flat.value, nullptr, size, nullptr, nullptr), needed == 0);
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

/// Least sizes and the one below, no buffer, then the form, over each way to hold something.
void CheckSetter(const Flat& flat, Setter set, const std::string& form) {
    const Type type = flat.value.Type();
    const bool isText = type >= MultiType::TYPE_STRING, isWide = type == MultiType::TYPE_WSTRING;
    const unsigned int least = isText ? 1 + isWide : MultiType::GetTypeSize(type);
    const std::string room = '#' + form;  // Not aligned, and a text ends where its terminator is.
    for (MultiType value : {MultiType(), MultiType("held"), MultiType(5, "block", 3)}) {
        const std::string before = value.GetAs<String>();
        EXPECT_TRUE(least == 0 || !(value.*set)(room.data() + 1, least - 1, type, 1));
        EXPECT_EQ(value.GetAs<String>(), before);
        const auto size = isText ? least : static_cast<unsigned int>(form.size());
        EXPECT_TRUE((value.*set)(room.data() + 1, size, type, flat.id));
        ExpectHolds(value, flat);
        EXPECT_TRUE((value.*set)(nullptr, size, type, 4));
        EXPECT_EQ(value.Type(), type);
        EXPECT_EQ(value.GetAs<double>(), 0.0);
        EXPECT_EQ(value.GetValueSize(), size);
    }
}

TEST(Buffers, EveryTagCrossesInBothOrders) {
    for (const Flat& flat : FlatForms()) {
        SCOPED_TRACE("tag " + std::to_string(flat.value.Type()));
        ExpectHolds(flat.value, flat);
        CheckGetter(flat, static_cast<Getter>(&MultiType::Get), flat.host);
        CheckGetter(flat, &MultiType::GetBigEndianFormatted, flat.bigEndian);
        CheckGetter(flat, GetAsItsOwnType, flat.host);
        CheckSetter(flat, &MultiType::Set, flat.host);
        CheckSetter(flat, &MultiType::SetBigEndianFormatted, flat.bigEndian);
    }
}

TEST(Buffers, ReadAsAnotherTypeOrRefuseIt) {
    MultiType value(300);
    for (const auto& [number, form] :
         {std::pair(-1, ""s), {0, ""}, {15, ""}, {3, "\x7F"}, {4, "\x2C\1"}, {13, "300\0"s}}) {
        const auto type = static_cast<Type>(number);
        std::string room(form.size() + 1, '#');
        unsigned int size = 99, id = 99;
        EXPECT_TRUE(value.GetTyped(room.data(), size, type, &id));
        EXPECT_EQ(room, form + '#');
        EXPECT_EQ(std::tuple(size, id), std::tuple(form.size(), 0u)) << number;
        EXPECT_EQ(value.GetTypedValueSize(type), form.size()) << number;
        for (const Setter set : {&MultiType::Set, &MultiType::SetBigEndianFormatted})
            EXPECT_TRUE((number >= 0 && number < 15) || !(value.*set)("", 99, type, 1)) << number;
    }
    unsigned int size = 99, id = 99;
    EXPECT_FALSE(value.GetTyped(&size, size, MultiType::TYPE_RAW, &id)) << "it holds no block";
    EXPECT_EQ(std::tuple(size, id), std::tuple(0u, 0u));
    EXPECT_TRUE(value.SetBigEndianFormatted(value.GetBuffer(nullptr, nullptr, nullptr), 4,
                                            MultiType::TYPE_INT, 0));
    EXPECT_EQ(value.GetAs<int>(), 0x2C010000) << "the buffer may be the value's own";
}

}  // namespace
