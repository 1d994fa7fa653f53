#include <gtest/gtest.h>

#include <cstring>
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
        std::string space(given + 2, '#'), expected = space;
        unsigned int size = given, id = 99;
        Type type = static_cast<Type>(99);
        // One byte on, so that no form is aligned.
        EXPECT_EQ(std::invoke(get, flat.value, space.data() + 1, size, &type, &id),
                  given >= needed);
        EXPECT_EQ(std::tuple(size, type, id), std::tuple(needed, flat.value.Type(), flat.id));
        EXPECT_EQ(space, given < needed ? expected : expected.replace(1, needed, form)) << given;
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
    const std::string space = '#' + form;  // Not aligned, and a text ends where its terminator is.
    for (MultiType value : {MultiType(), MultiType("held"), MultiType(5, "block", 3)}) {
        const std::string before = value.GetAs<String>();
        EXPECT_TRUE(least == 0 || !(value.*set)(space.data() + 1, least - 1, type, 1));
        EXPECT_EQ(value.GetAs<String>(), before);
        const auto size = isText ? least : static_cast<unsigned int>(form.size());
        EXPECT_TRUE((value.*set)(space.data() + 1, size, type, flat.id));
        ExpectHolds(value, flat);
        EXPECT_TRUE((value.*set)(nullptr, size, type, 4));
        EXPECT_EQ(value.Type(), type);
        EXPECT_EQ(value.GetAs<double>(), 0.0);
        EXPECT_EQ(value.GetValueSize(), size);
    }
}

TEST(Buffers, EveryTagIsExchangedInBothOrders) {
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
        std::string space(form.size() + 1, '#');
        unsigned int size = 99, id = 99;
        EXPECT_TRUE(value.GetTyped(space.data(), size, type, &id));
        EXPECT_EQ(space, form + '#');
        EXPECT_EQ(std::tuple(size, id), std::tuple(form.size(), 0u)) << number;
        EXPECT_EQ(value.GetTypedValueSize(type), form.size()) << number;
        for (const Setter set : {&MultiType::Set, &MultiType::SetBigEndianFormatted})
            EXPECT_TRUE((number >= 0 && number < 15) || !(value.*set)("", 99, type, 1)) << number;
    }
    unsigned int size = 99, id = 99;
    EXPECT_FALSE(value.GetTyped(&size, size, MultiType::TYPE_RAW, &id)) << "it holds no block";
    EXPECT_EQ(std::tuple(size, id), std::tuple(0u, 0u));
}

TEST(Buffers, ABlockOfNoDataIsZeroAlsoInUsedMemory) {
    for (const unsigned int size : {1u, 8u, 100u, 5000u}) {
        const std::string used(size, 'x');
        MultiType value(size, used.data(), 1);
        value = MultiType(size, nullptr, 1);
        EXPECT_EQ(value.GetAs<String>(), std::string(size, '\0'));
    }
}

TEST(Buffers, TheBufferMayBeTheValuesOwn) {
    const std::string form = "abc\0\0"s;
    for (const MultiType& held : {MultiType(0x00636261), MultiType(6, form.c_str(), 1),
                                  MultiType(String(form)), MultiType(u"\x6261\x63")}) {
        for (const Type type : {MultiType::TYPE_RAW, MultiType::TYPE_INT, MultiType::TYPE_STRING,
                                MultiType::TYPE_WSTRING}) {
            for (const Setter set : {&MultiType::Set, &MultiType::SetBigEndianFormatted}) {
                MultiType value(held), expected;
                (expected.*set)(form.c_str(), 4, type, 1);
                (value.*set)(value.GetBuffer(nullptr, nullptr, nullptr), 4, type, 1);
                EXPECT_EQ(value.Type(), type);
                EXPECT_EQ(value.GetAs<String>(), expected.GetAs<String>()) << held.Type();
            }
        }
    }
}

/// A value whose text says that it has another length than it has.
class Pretending : public MultiType {
public:
    Pretending(const MultiType& text, std::size_t length) : MultiType(text) { Pretend(length); }
    ~Pretending() override { Pretend(0); }

private:
    void Pretend(std::size_t length) {
        std::memcpy(reinterpret_cast<char*>(m_v.str) + sizeof(char*), &length, sizeof length);
    }
};

TEST(Buffers, ATextBeyondTheLargestSizeHasNoFlatForm) {
    const unsigned int most = 0xFFFFFFFF;
    for (const auto& [text, length, size] : {std::tuple(MultiType(""), 0xFFFFFFFEull, most),
                                             {u"", 0x7FFFFFFEull, most - 1},
                                             {"", 0xFFFFFFFFull, 0u},
                                             {u"", 0x7FFFFFFFull, 0u},
                                             {u"", 1ull << 40, 0u}}) {
        const Pretending value(text, length);
        unsigned int told = 99;
        EXPECT_EQ(value.GetBuffer(&told, nullptr, nullptr) != nullptr, size != 0) << length;
        EXPECT_EQ(told, size) << length;
        EXPECT_EQ(value.GetValueSize(), size != 0 ? size : most) << length;
        for (const Getter get : {Getter(&MultiType::Get), &MultiType::GetBigEndianFormatted})
            EXPECT_TRUE(size != 0 || !(value.*get)(&told, told = most, nullptr, nullptr)) << length;
    }
}

}  // namespace
