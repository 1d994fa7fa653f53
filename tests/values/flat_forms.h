/// Values of every tag beside their forms, and values that only a derived class can make.
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

/// Calls `check` with a zero of each type of number, in the order of the tags.
void ForEachNumber(auto check) {
    check(bool()), check(char()), check(short()), check(int()), check(0ll);
    check(static_cast<unsigned char>(0)), check(static_cast<unsigned short>(0)), check(0u);
    check(0ull), check(0.0f), check(0.0);
}

struct Flat {
    MultiType value;
    std::string host, bigEndian, text;
    unsigned int id = 0;
};

/// In the order of the tags, from 0 to 14, and then some more.
inline std::vector<Flat> FlatForms() {
    using namespace std::string_literals;
    const std::string longText = "text of more than its object holds";
    return {{{}, "", "", "Invalid"},
            {{3, "a\0b", 7}, "a\0b"s, "a\0b"s, "a\0b"s, 7},
            {true, "\1", "\1", "1"},
            {'\x81', "\x81", "\x81", "-127"},
            {static_cast<short>(0x8102), "\2\x81", "\x81\2", "-32510"},
            {-0x7EFDFCFC, "\4\3\2\x81", "\x81\2\3\4", "-2130574588"},
            {-0x7EFDFCFBFAF9F8F8ll, "\10\7\6\5\4\3\2\x81", "\x81\2\3\4\5\6\7\10",
             "-9150748177064392952"},
            {static_cast<unsigned char>(200), "\xC8", "\xC8", "200"},
            {static_cast<unsigned short>(0xFFFE), "\xFE\xFF", "\xFF\xFE", "65534"},
            {0x80000001u, "\1\0\0\x80"s, "\x80\0\0\1"s, "2147483649"},
            {0xFF00000000000001ull, "\1\0\0\0\0\0\0\xFF"s, "\xFF\0\0\0\0\0\0\1"s,
             "18374686479671623681"},
            {0.1f, "\xCD\xCC\xCC\x3D", "\x3D\xCC\xCC\xCD", "0.1"},
            {1234567.0, "\0\0\0\0\x87\xD6\x32\x41"s, "\x41\x32\xD6\x87\0\0\0\0"s, "1.23457e+06"},
            {longText.c_str(), longText + '\0', longText + '\0', longText},
            {u"A\u0102", "A\0\2\1\0\0"s, "\0A\1\2\0\0"s, "A\u0102"},
            {{0, nullptr, 9}, "", "", "", 9},
            {OddBool(255), "\xFF", "\xFF", "255"},
            {"", "\0"s, "\0"s, ""},
            {u"", "\0\0"s, "\0\0"s, ""},
            {u"A\u4100", "A\0\0A\0\0"s, "\0AA\0\0\0"s, "A\u4100"}};
}

#endif
