/// Values of every tag beside their flat forms, and values that only a derived class can make.
#ifndef TESTS_VALUES_FLAT_FORMS_H
#define TESTS_VALUES_FLAT_FORMS_H

#include <string>
#include <vector>

#include "utilities/values/multitype.h"

/// A value with any tag.
class Tagged : public MultiType {
public:
    explicit Tagged(int tag) { m_type = static_cast<TYPE>(tag); }
};

/// A boolean whose byte is above 1, as it arrives from memory.
class OddBool : public MultiType {
public:
    explicit OddBool(unsigned char byte) : MultiType(true) { m_v.b = byte; }
};

/// Calls `check` with a zero of each type of number.
void ForEachNumber(auto check) {
    check(bool()), check(char()), check(short()), check(int()), check(0ll), check(0u), check(0ull);
    check(static_cast<unsigned char>(0)), check(static_cast<unsigned short>(0));
    check(0.0f), check(0.0);
}

struct Flat {
    MultiType value;
    std::string host, bigEndian;
    unsigned int id = 0;
};

/// In the order of the tags, from 0 to 14, and then some more.
inline std::vector<Flat> FlatForms() {
    using namespace std::string_literals;
    return {{MultiType(), "", ""},
            {MultiType(3, "a\0b", 7), "a\0b"s, "a\0b"s, 7},
            {MultiType(true), "\1", "\1"},
            {MultiType('\x81'), "\x81", "\x81"},
            {MultiType(short(0x0102)), "\2\1", "\1\2"},
            {MultiType(0x01020304), "\4\3\2\1", "\1\2\3\4"},
            {MultiType(0x0102030405060708ll), "\10\7\6\5\4\3\2\1", "\1\2\3\4\5\6\7\10"},
            {MultiType(static_cast<unsigned char>(200)), "\xC8", "\xC8"},
            {MultiType(static_cast<unsigned short>(0xFFFE)), "\xFE\xFF", "\xFF\xFE"},
            {MultiType(0x80000001u), "\1\0\0\x80"s, "\x80\0\0\1"s},
            {MultiType(0xFF00000000000001ull), "\1\0\0\0\0\0\0\xFF"s, "\xFF\0\0\0\0\0\0\1"s},
            {MultiType(1.0f), "\0\0\x80\x3F"s, "\x3F\x80\0\0"s},
            {MultiType(1.0), "\0\0\0\0\0\0\xF0\x3F"s, "\x3F\xF0\0\0\0\0\0\0"s},
            {MultiType("text of more than its object holds"),
             "text of more than its object holds\0"s, "text of more than its object holds\0"s},
            {MultiType(u"A\u0102"), "A\0\2\1\0\0"s, "\0A\1\2\0\0"s},
            {MultiType(0, nullptr, 9), "", "", 9},
            {MultiType(""), "\0"s, "\0"s},
            {MultiType(u""), "\0\0"s, "\0\0"s}};
}

#endif
