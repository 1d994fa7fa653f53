#include <algorithm>
#include <charconv>
#include <cstring>

#include "utilities/platform/numbers.h"
#include "utilities/values/conversion_internal.h"
#include "utilities/values/multitype.h"

using conversion::FromText;

namespace {

constexpr std::size_t CAPACITY = platform::GENERAL_CAPACITY;

template <class Integer>
std::size_t PrintInteger(char* out, Integer value) {
    return static_cast<std::size_t>(std::to_chars(out, out + CAPACITY, value).ptr - out);
}

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

}  // namespace

void MultiType::Get(String& out) const {
    switch (m_type) {
        case TYPE_INVALID:
            out = "Invalid";
            break;
        case TYPE_RAW:
            out.assign(reinterpret_cast<const char*>(m_v.r->Data()), m_v.r->size);
            break;
        case TYPE_STRING:
            out = *m_v.str;
            break;
        case TYPE_WSTRING:
            out.Assign(*m_v.wstr);
            break;
        default: {
            char number[CAPACITY];
            if (const std::size_t length = PrintNumber(number))
                AssignNumber(out, number, length);
            break;
        }
    }
}

void MultiType::Get(WString& out) const {
    switch (m_type) {
        case TYPE_INVALID:
            out = u"Invalid";
            break;
        case TYPE_RAW:
            out.resize(m_v.r->size / sizeof(WideChar));
            std::memcpy(out.data(), m_v.r->Data(), out.size() * sizeof(WideChar));
            break;
        case TYPE_STRING:
            out.Assign(*m_v.str);
            break;
        case TYPE_WSTRING:
            out = *m_v.wstr;
            break;
        default: {
            char number[CAPACITY];
            if (const std::size_t length = PrintNumber(number))
                AssignNumber(out, number, length);
            break;
        }
    }
}

/// The digits of an inline form, and their number; 0 for a tag that is none.
std::size_t MultiType::PrintNumber(char* out) const {
    switch (m_type) {
        case TYPE_BOOL:
            return PrintInteger(out, static_cast<unsigned int>(m_v.b));
        case TYPE_CHAR:
            return PrintInteger(out, static_cast<int>(m_v.c));
        case TYPE_SHORT:
            return PrintInteger(out, m_v.sh);
        case TYPE_INT:
            return PrintInteger(out, m_v.i);
        case TYPE_INT64:
            return PrintInteger(out, m_v.ll);
        case TYPE_UCHAR:
            return PrintInteger(out, static_cast<unsigned int>(m_v.uc));
        case TYPE_USHORT:
            return PrintInteger(out, m_v.ush);
        case TYPE_UINT:
            return PrintInteger(out, m_v.ui);
        case TYPE_UINT64:
            return PrintInteger(out, m_v.ull);
        case TYPE_FLOAT:
            return platform::FormatGeneral(out, static_cast<double>(m_v.f));
        case TYPE_DOUBLE:
            return platform::FormatGeneral(out, m_v.d);
        default:
            return 0;
    }
}

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
