#include <charconv>
#include <cstring>

#include "utilities/platform/numbers.h"
#include "utilities/values/conversion_internal.h"
#include "utilities/values/multitype.h"

using conversion::FromText;

namespace {

constexpr std::size_t CAPACITY = platform::GENERAL_CAPACITY;

void AssignNumber(String& out, const char* text, std::size_t length) { out.assign(text, length); }

/// A number is ASCII but for the decimal point of some locales.
void AssignNumber(WString& out, const char* text, std::size_t length) {
    WideChar wide[CAPACITY];
    WideChar seen = 0;
    for (std::size_t i = 0; i < length; ++i) {
        wide[i] = static_cast<unsigned char>(text[i]);
        seen |= wide[i];
    }
    if (seen <= 0x7F)
        out.assign(wide, length);
    else
        out.Assign(std::string(text, length));
}

template <class Text, class Integer>
void AssignInteger(Text& out, Integer value) {
    char digits[CAPACITY];
    const char* end = std::to_chars(digits, digits + CAPACITY, value).ptr;
    AssignNumber(out, digits, static_cast<std::size_t>(end - digits));
}

template <class Text>
void AssignFloating(Text& out, double value) {
    char digits[CAPACITY];
    AssignNumber(out, digits, platform::FormatGeneral(digits, value));
}

void AssignText(String& out, const String& text) { out = text; }
void AssignText(String& out, const WString& text) { out.Assign(text); }
void AssignText(WString& out, const String& text) { out.Assign(text); }
void AssignText(WString& out, const WString& text) { out = text; }

/// The bytes as they stand; those that make no whole character of the text are left out.
template <class Text>
void AssignBlock(Text& out, const unsigned char* data, std::size_t size) {
    using Char = typename Text::value_type;
    out.resize(size / sizeof(Char));
    std::memcpy(out.data(), data, out.size() * sizeof(Char));
}

}  // namespace

template <class Text>
void MultiType::ReadText(Text& out) const {
    switch (m_type) {
        case TYPE_INVALID:
            return AssignNumber(out, "Invalid", 7);
        case TYPE_RAW:
            return AssignBlock(out, m_v.r->Data(), m_v.r->size);
        case TYPE_BOOL:
            return AssignInteger(out, static_cast<unsigned int>(m_v.b));
        case TYPE_CHAR:
            return AssignInteger(out, static_cast<int>(m_v.c));
        case TYPE_SHORT:
            return AssignInteger(out, m_v.sh);
        case TYPE_INT:
            return AssignInteger(out, m_v.i);
        case TYPE_INT64:
            return AssignInteger(out, m_v.ll);
        case TYPE_UCHAR:
            return AssignInteger(out, static_cast<unsigned int>(m_v.uc));
        case TYPE_USHORT:
            return AssignInteger(out, m_v.ush);
        case TYPE_UINT:
            return AssignInteger(out, m_v.ui);
        case TYPE_UINT64:
            return AssignInteger(out, m_v.ull);
        case TYPE_FLOAT:
            return AssignFloating(out, static_cast<double>(m_v.f));
        case TYPE_DOUBLE:
            return AssignFloating(out, m_v.d);
        case TYPE_STRING:
            return AssignText(out, *m_v.str);
        case TYPE_WSTRING:
            return AssignText(out, *m_v.wstr);
        default:
            return;
    }
}

void MultiType::Get(String& out) const { ReadText(out); }
void MultiType::Get(WString& out) const { ReadText(out); }

bool MultiType::SetTyped(const String& text, TYPE type) {
    switch (type) {
        case TYPE_INVALID:
            Invalidate();
            break;
        case TYPE_RAW:
            StoreRaw(static_cast<unsigned int>(text.size()), text.c_str(), 0);
            break;
        case TYPE_BOOL:
            assign(FromText<bool>(text));
            break;
        case TYPE_CHAR:
            assign(FromText<char>(text));
            break;
        case TYPE_SHORT:
            assign(FromText<short>(text));
            break;
        case TYPE_INT:
            assign(FromText<int>(text));
            break;
        case TYPE_INT64:
            assign(FromText<__int64>(text));
            break;
        case TYPE_UCHAR:
            assign(FromText<unsigned char>(text));
            break;
        case TYPE_USHORT:
            assign(FromText<unsigned short>(text));
            break;
        case TYPE_UINT:
            assign(FromText<unsigned int>(text));
            break;
        case TYPE_UINT64:
            assign(FromText<unsigned __int64>(text));
            break;
        case TYPE_FLOAT:
            assign(FromText<float>(text));
            break;
        case TYPE_DOUBLE:
            assign(FromText<double>(text));
            break;
        default:
            assign(text);
            break;
    }
    return true;
}
