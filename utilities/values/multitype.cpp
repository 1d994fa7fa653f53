#include "utilities/values/multitype.h"

#include <cstring>
#include <new>

#include "utilities/frame/assert_internal.h"
#include "utilities/values/layout_internal.h"

using layout::FlatSize;
using layout::IsHeldTag;
using layout::LayoutOf;

static_assert(sizeof(MultiType) == 3 * sizeof(void*), "virtual table, eight bytes and the tag");

namespace {

constexpr char ASSERT_MODULE[] = ".\\multitype";

/// Whether the datum points to something; one test, as most values hold numbers.
constexpr bool OwnsMemory(MultiType::TYPE type) {
    constexpr unsigned int OWNERS =
        1u << MultiType::TYPE_RAW | 1u << MultiType::TYPE_STRING | 1u << MultiType::TYPE_WSTRING;
    const auto tag = static_cast<unsigned int>(type);
    return tag <= MultiType::TYPE_WSTRING && (OWNERS >> tag & 1) != 0;
}

}  // namespace

MultiType::MultiType() : m_v{}, m_type(TYPE_INVALID) {}

MultiType::MultiType(bool value) : m_v{}, m_type(TYPE_BOOL) { m_v.b = value; }
MultiType::MultiType(char value) : m_v{}, m_type(TYPE_CHAR) {
    m_v.c = static_cast<signed char>(value);
}
MultiType::MultiType(short value) : m_v{}, m_type(TYPE_SHORT) { m_v.sh = value; }
MultiType::MultiType(int value) : m_v{}, m_type(TYPE_INT) { m_v.i = value; }
MultiType::MultiType(const __int64& value) : m_v{}, m_type(TYPE_INT64) { m_v.ll = value; }
MultiType::MultiType(unsigned char value) : m_v{}, m_type(TYPE_UCHAR) { m_v.uc = value; }
MultiType::MultiType(unsigned short value) : m_v{}, m_type(TYPE_USHORT) { m_v.ush = value; }
MultiType::MultiType(unsigned int value) : m_v{}, m_type(TYPE_UINT) { m_v.ui = value; }
MultiType::MultiType(const unsigned __int64& value) : m_v{}, m_type(TYPE_UINT64) {
    m_v.ull = value;
}
MultiType::MultiType(float value) : m_v{}, m_type(TYPE_FLOAT) { m_v.f = value; }
MultiType::MultiType(const double& value) : m_v{}, m_type(TYPE_DOUBLE) { m_v.d = value; }
MultiType::MultiType(const char* text) : m_v{}, m_type(TYPE_STRING) { m_v.str = new String(text); }
MultiType::MultiType(const String& text) : m_v{}, m_type(TYPE_STRING) {
    m_v.str = new String(text);
}
MultiType::MultiType(const WString& text) : m_v{}, m_type(TYPE_WSTRING) {
    m_v.wstr = new WString(text);
}
MultiType::MultiType(const WideChar* text) : m_v{}, m_type(TYPE_WSTRING) {
    m_v.wstr = new WString(text);
}
MultiType::MultiType(unsigned int size, const void* data, unsigned int id)
    : m_v{}, m_type(TYPE_INVALID) {
    StoreRaw(size, data, id);
}

MultiType::MultiType(const MultiType& other) : m_v(other.m_v), m_type(other.m_type) {
    if (!OwnsMemory(m_type))
        return;
    m_v = {};
    m_type = TYPE_INVALID;
    switch (other.m_type) {
        case TYPE_RAW:
            StoreRaw(other.m_v.r->size, other.m_v.r->Data(), other.m_v.r->id);
            return;
        case TYPE_STRING:
            m_v.str = new String(*other.m_v.str);
            break;
        default:
            m_v.wstr = new WString(*other.m_v.wstr);
            break;
    }
    m_type = other.m_type;
}

MultiType& MultiType::operator=(bool value) { return assign(value), *this; }
MultiType& MultiType::operator=(char value) { return assign(value), *this; }
MultiType& MultiType::operator=(short value) { return assign(value), *this; }
MultiType& MultiType::operator=(int value) { return assign(value), *this; }
MultiType& MultiType::operator=(const __int64& value) { return assign(value), *this; }
MultiType& MultiType::operator=(unsigned char value) { return assign(value), *this; }
MultiType& MultiType::operator=(unsigned short value) { return assign(value), *this; }
MultiType& MultiType::operator=(unsigned int value) { return assign(value), *this; }
MultiType& MultiType::operator=(const unsigned __int64& value) { return assign(value), *this; }
MultiType& MultiType::operator=(float value) { return assign(value), *this; }
MultiType& MultiType::operator=(const double& value) { return assign(value), *this; }
MultiType& MultiType::operator=(const String& text) { return assign(text), *this; }
MultiType& MultiType::operator=(const char* text) { return assign(text), *this; }
MultiType& MultiType::operator=(const WString& text) { return assign(text), *this; }
MultiType& MultiType::operator=(const WideChar* text) { return assign(text), *this; }
MultiType& MultiType::operator=(const MultiType& other) { return assign(other), *this; }

MultiType::TYPE MultiType::Type(unsigned int* id) const {
    if (id != nullptr)
        *id = m_type == TYPE_RAW ? m_v.r->id : 0;
    return m_type;
}

void MultiType::Invalidate() { Renew(TYPE_INVALID); }

bool MultiType::IsSigned() const { return LayoutOf(m_type).isSigned; }

unsigned int MultiType::GetTypeSize(TYPE type) {
    const layout::Layout& wanted = LayoutOf(type);
    return wanted.form == layout::Form::Inline ? wanted.unit : 0;
}

unsigned int MultiType::GetValueSize() const {
    switch (m_type) {
        case TYPE_RAW:
            return m_v.r->size;
        case TYPE_STRING:
            return FlatSize(*m_v.str);
        case TYPE_WSTRING:
            return FlatSize(*m_v.wstr);
        default:
            return GetTypeSize(m_type);
    }
}

short MultiType::getCookie() const { return -1; }

MultiType::~MultiType() { ReleaseValue(); }

void MultiType::StoreRaw(unsigned int size, const void* data, unsigned int id) {
    constexpr std::size_t SPARE = 1;
    Invalidate();
    m_v.r = static_cast<RawBlock*>(::operator new(sizeof(RawBlock) + size + SPARE));
    ASSERT(m_v.r != 0);
    if (m_v.r == nullptr)
        return;
    m_type = TYPE_RAW;
    m_v.r->id = id;
    m_v.r->size = size;
    if (data != nullptr)
        std::memcpy(m_v.r->Data(), data, size);
    else
        std::memset(m_v.r->Data(), 0, size);
}

void MultiType::assign(bool value) { Renew(TYPE_BOOL).b = value; }
void MultiType::assign(char value) { Renew(TYPE_CHAR).c = static_cast<signed char>(value); }
void MultiType::assign(short value) { Renew(TYPE_SHORT).sh = value; }
void MultiType::assign(int value) { Renew(TYPE_INT).i = value; }
void MultiType::assign(const __int64& value) { Renew(TYPE_INT64).ll = value; }
void MultiType::assign(unsigned char value) { Renew(TYPE_UCHAR).uc = value; }
void MultiType::assign(unsigned short value) { Renew(TYPE_USHORT).ush = value; }
void MultiType::assign(unsigned int value) { Renew(TYPE_UINT).ui = value; }
void MultiType::assign(const unsigned __int64& value) { Renew(TYPE_UINT64).ull = value; }
void MultiType::assign(float value) { Renew(TYPE_FLOAT).f = value; }
void MultiType::assign(const double& value) { Renew(TYPE_DOUBLE).d = value; }
void MultiType::assign(const String& text) { HoldText(m_v.str, TYPE_STRING, text); }
void MultiType::assign(const char* text) { HoldText(m_v.str, TYPE_STRING, text); }
void MultiType::assign(const WString& text) { HoldText(m_v.wstr, TYPE_WSTRING, text); }
void MultiType::assign(const WideChar* text) { HoldText(m_v.wstr, TYPE_WSTRING, text); }

void MultiType::assign(const MultiType& other) {
    if (this == &other)
        return;
    switch (other.m_type) {
        case TYPE_RAW:
            StoreRaw(other.m_v.r->size, other.m_v.r->Data(), other.m_v.r->id);
            break;
        case TYPE_STRING:
            assign(*other.m_v.str);
            break;
        case TYPE_WSTRING:
            assign(*other.m_v.wstr);
            break;
        default:
            if (!IsHeldTag(other.m_type)) {
                ASSERT(false);
                Invalidate();
                break;
            }
            Renew(other.m_type) = other.m_v;
            break;
    }
}

void MultiType::ReleaseValue() {
    if (OwnsMemory(m_type))
        FreeMemory();
    m_v = {};
}

void MultiType::FreeMemory() {
    switch (m_type) {
        case TYPE_RAW:
            ::operator delete(m_v.r);
            break;
        case TYPE_STRING:
            delete m_v.str;
            break;
        default:
            delete m_v.wstr;
            break;
    }
}

MultiType::Datum& MultiType::Renew(TYPE type) {
    ReleaseValue();
    m_type = type;
    return m_v;
}

/// A pointer source first becomes a text of its own where it may point into the text that is held.
template <class Text, class Source>
void MultiType::HoldText(Text*& held, TYPE type, const Source& source) {
    if (m_type == type && held != nullptr) {
        *held = static_cast<const Text&>(source);
        return;
    }
    Renew(type);
    held = new Text(source);
}
