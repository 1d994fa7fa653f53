// A value is a tag and a datum of eight bytes. What holds at any time:
//
// - The tag tells which member of the datum is in use; `kinds_internal.h` has the mapping.
// - Under `TYPE_RAW`, `TYPE_STRING` and `TYPE_WSTRING` the datum points to memory that this value
//   alone owns. The pointer is null only after memory ran out in the assignment of a text: then the
//   tag is set, nothing is held, and the value can be invalidated, assigned to and destroyed.
// - Under `TYPE_INVALID` the datum is zero. Assigning a number leaves the bytes above it zero.
//
// Every change but a text over a text goes through `Renew`: release, zero the datum, set the tag,
// and only then allocate and fill. So an exception of the allocation never leaves a pointer to
// freed memory. A source that lies in what is held becomes a value of its own first, and the two
// values are then exchanged.
#include "utilities/values/multitype.h"

#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "utilities/frame/assert_internal.h"
#include "utilities/values/kinds_internal.h"

using kinds::Datum;
using kinds::Form;

static_assert(sizeof(MultiType) == 3 * sizeof(void*), "virtual table, eight bytes and the tag");

namespace {

constexpr char ASSERT_MODULE[] = ".\\multitype";

/// Whether the datum points to memory of the value; one test, as most values hold numbers.
constexpr bool OwnsMemory(MultiType::TYPE type) {
    constexpr unsigned int OWNERS = [] {
        unsigned int owners = 0;
        for (unsigned int tag = 0; tag < kinds::TAG_END; ++tag) {
            const Form form = kinds::FormOf(static_cast<MultiType::TYPE>(tag));
            owners |= static_cast<unsigned int>(form == Form::BLOCK || form == Form::TEXT) << tag;
        }
        return owners;
    }();
    const auto tag = static_cast<unsigned int>(type);
    return tag < kinds::TAG_END && (OWNERS >> tag & 1) != 0;
}

/// Apart, so that the release of a number stays short.
[[gnu::noinline]] void FreeMemory(MultiType::TYPE type, const Datum& held) {
    kinds::Visit(type, [&]<class Kind>(Kind) {
        if constexpr (Kind::FORM == Form::BLOCK)
            ::operator delete(held.r);
        else if constexpr (Kind::FORM == Form::TEXT)
            delete (held.*Kind::DATUM);
    });
}

/// Whether `source` points into the datum, or into the block or text that it points to.
bool LiesIn(MultiType::TYPE type, const Datum& held, const void* source) {
    const auto isWithin = [source](const void* start, std::size_t size) {
        const void* const end = static_cast<const char*>(start) + size;
        return std::less_equal<>()(start, source) && std::less<>()(source, end);
    };
    return isWithin(&held, sizeof held) || kinds::Visit(type, [&]<class Kind>(Kind) {
               if constexpr (Kind::FORM == Form::BLOCK) {
                   return isWithin(held.r, sizeof *held.r + held.r->size);
               } else if constexpr (Kind::FORM == Form::TEXT) {
                   const auto* text = held.*Kind::DATUM;
                   return text != nullptr &&
                          isWithin(text->data(), (text->size() + 1) * Kind::ORDER_UNIT);
               } else {
                   return false;
               }
           });
}

/// The global allocation. It may have been replaced by one that returns null instead of throwing.
/// Compilers remove a check for that, as the language rules it out, unless they can't know where
/// the pointer comes from: the statement without an instruction could change it.
void* Allocate(std::size_t size) {
    void* memory = ::operator new(size);
    asm("" : "+r"(memory));
    return memory;
}

/// Returns a new text, or null where the allocation returns null.
template <class Text, class Source>
Text* NewText(Source&& source) {
    struct Release {
        void operator()(void* memory) const { ::operator delete(memory); }
    };
    std::unique_ptr<void, Release> memory(Allocate(sizeof(Text)));
    Text* const text =
        memory != nullptr ? new (memory.get()) Text(std::forward<Source>(source)) : nullptr;
    static_cast<void>(memory.release());
    return text;
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
MultiType::MultiType(const char* text) : m_v{}, m_type(TYPE_STRING) {
    m_v.str = NewText<String>(text);
}
MultiType::MultiType(const String& text) : m_v{}, m_type(TYPE_STRING) {
    m_v.str = NewText<String>(text);
}
MultiType::MultiType(const WString& text) : m_v{}, m_type(TYPE_WSTRING) {
    m_v.wstr = NewText<WString>(text);
}
MultiType::MultiType(const WideChar* text) : m_v{}, m_type(TYPE_WSTRING) {
    m_v.wstr = NewText<WString>(text);
}
MultiType::MultiType(unsigned int size, const void* data, unsigned int id)
    : m_v{}, m_type(TYPE_INVALID) {
    StoreRaw(size, data, id);
}

MultiType::MultiType(const MultiType& other) : m_v(other.m_v), m_type(other.m_type) {
    if (OwnsMemory(m_type))
        HoldCopy(other);
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

bool MultiType::IsSigned() const { return kinds::IsSigned(m_type); }

unsigned int MultiType::GetTypeSize(TYPE type) {
    return kinds::Visit(type, [](auto kind) { return kind.INLINE_WIDTH; });
}

short MultiType::getCookie() const { return -1; }

MultiType::~MultiType() { ReleaseValue(); }

void MultiType::StoreRaw(unsigned int size, const void* data, unsigned int id) {
    constexpr std::size_t SPARE = 1;
    if (data != nullptr && LiesIn(m_type, m_v, data)) {
        *this = MultiType(size, data, id);
        return;
    }
    Invalidate();
    m_v.r = static_cast<RawBlock*>(Allocate(sizeof(RawBlock) + size + SPARE));
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
    if (OwnsMemory(other.m_type)) {
        kinds::Visit(other.m_type, [&]<class Kind>(Kind) {
            if constexpr (Kind::FORM == Form::BLOCK)
                StoreRaw(other.m_v.r->size, other.m_v.r->Data(), other.m_v.r->id);
            else if constexpr (Kind::FORM == Form::TEXT)
                assign(*(other.m_v.*Kind::DATUM));
        });
    } else if (kinds::IsHeldTag(other.m_type)) {
        Renew(other.m_type) = other.m_v;
    } else {
        ASSERT(false);
        Invalidate();
    }
}

void MultiType::ReleaseValue() {
    if (OwnsMemory(m_type))
        FreeMemory(m_type, m_v);
    m_v = {};
}

MultiType::Datum& MultiType::Renew(TYPE type) {
    ReleaseValue();
    m_type = type;
    return m_v;
}

// Apart, so that the copy of a number stays short. The tag is that of the other value; if memory
// runs out, so does the life of this one.
[[gnu::noinline]] void MultiType::HoldCopy(const MultiType& other) {
    kinds::Visit(other.m_type, [&]<class Kind>(Kind) {
        if constexpr (Kind::FORM == Form::BLOCK) {
            m_v = {};
            m_type = TYPE_INVALID;
            StoreRaw(other.m_v.r->size, other.m_v.r->Data(), other.m_v.r->id);
        } else if constexpr (Kind::FORM == Form::TEXT) {
            m_v.*Kind::DATUM = NewText<typename Kind::Type>(*(other.m_v.*Kind::DATUM));
        }
    });
}

void MultiType::HoldWide(WString&& text) { HoldText(m_v.wstr, TYPE_WSTRING, std::move(text)); }

template <class Text, class Source>
void MultiType::HoldText(Text*& held, TYPE type, Source&& source) {
    if (m_type == type && held != nullptr) {
        // A pointer may lead into the text that is held: strings can be assigned a part of their
        // own.
        *held = std::forward<Source>(source);
        return;
    }
    if constexpr (std::is_pointer_v<std::remove_cvref_t<Source>>) {
        if (LiesIn(m_type, m_v, source)) {
            *this = MultiType(source);
            return;
        }
    }
    Renew(type);
    held = NewText<Text>(std::forward<Source>(source));
}
