/// A tagged value: one small object that holds a boolean, an integer of one of eight types, a
/// floating-point number, a text of either width, a raw block of bytes, or nothing.
///
/// The caller names the type that it wants, whatever the value holds, and always gets a result:
/// integers saturate at the bounds of the wanted type, floating-point numbers are rounded, texts
/// are parsed, and blocks are read byte for byte. Reading never fails. The operations on flat
/// memory say by their result whether they did their work. When memory runs out, the exception of
/// `operator new` leaves the operation; no other exception does.
///
/// Numbers lie in the object itself and use no heap. A value is the only owner of its text or
/// block, and a copy has its own. There is no lock: different values may be used on different
/// threads at the same time, but while one thread changes a value no other thread may use it.
#ifndef UTILITIES_VALUES_MULTITYPE_H
#define UTILITIES_VALUES_MULTITYPE_H

#include <iosfwd>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "utilities/frame/export.h"
#include "utilities/frame/types.h"
#include "utilities/text/qelstring.h"

class UTILITIES_EXPORT MultiType {
    template <class T>
    struct Exactly {};
    static __int64 OwnOf(Exactly<long>);
    static unsigned __int64 OwnOf(Exactly<unsigned long>);
    static String OwnOf(Exactly<std::basic_string<char>>);
    static String OwnOf(Exactly<std::basic_string_view<char>>);
    static WString OwnOf(Exactly<std::basic_string<WideChar>>);
    static WString OwnOf(Exactly<std::basic_string_view<WideChar>>);

    /// The type by which a value holds what a client has in the standard type `T`.
    template <class T>
    using Own = decltype(OwnOf(Exactly<T>()));

    template <class T>
    static constexpr bool IS_TEXT =
        std::is_convertible_v<T, const char*> || std::is_convertible_v<T, const WideChar*>;

    /// Pointers that would be held as `true`, and null, which names no text.
    template <class T>
    using ForeignPointer =
        std::enable_if_t<std::is_null_pointer_v<T> ||
                         (!IS_TEXT<T> && (std::is_pointer_v<T> || std::is_member_pointer_v<T>))>;

    template <class T>
    using Operand = std::enable_if_t<std::is_convertible_v<const T&, const MultiType&>>;
    template <class T>
    using LeftOperand = std::enable_if_t<!std::is_base_of_v<MultiType, T>, Operand<T>>;

public:
    /// The tag of a value: what it holds. The numbers never change, as programs exchange them.
    enum TYPE : int {
        TYPE_INVALID = 0,      ///< Nothing.
        TYPE_RAW = 1,          ///< A block of bytes with a 32-bit id.
        TYPE_BOOL = 2,         ///< One byte: 0 is false, 1 is true.
        TYPE_CHAR = 3,         ///< Signed 8 bits, also where the compiler's `char` is unsigned.
        TYPE_SHORT = 4,        ///< Signed 16 bits.
        TYPE_INT = 5,          ///< Signed 32 bits.
        TYPE_INT64 = 6,        ///< Signed 64 bits.
        TYPE_UCHAR = 7,        ///< Unsigned 8 bits.
        TYPE_USHORT = 8,       ///< Unsigned 16 bits.
        TYPE_UINT = 9,         ///< Unsigned 32 bits.
        TYPE_UINT64 = 10,      ///< Unsigned 64 bits.
        TYPE_FLOAT = 11,       ///< IEEE 754 single precision.
        TYPE_DOUBLE = 12,      ///< IEEE 754 double precision.
        TYPE_STRING = 13,      ///< A narrow text.
        TYPE_WSTRING = 14,     ///< A wide text.
        TYPE_MIXED_INT64 = 15  ///< A way to compare, see `compare`. No value has this tag.
    };

    /// Holds nothing.
    MultiType();

    /// The value holds the argument, with the tag of its type. A text pointer must not be null.
    MultiType(bool value);
    MultiType(char value);
    MultiType(short value);
    MultiType(int value);
    MultiType(const __int64& value);
    MultiType(unsigned char value);
    MultiType(unsigned short value);
    MultiType(unsigned int value);
    MultiType(const unsigned __int64& value);
    MultiType(float value);
    MultiType(const double& value);
    MultiType(const char* text);
    MultiType(const String& text);
    MultiType(const WString& text);
    MultiType(const WideChar* text);
    UTILITIES_LOCAL MultiType(String&& text) : MultiType("") {
        if (m_v.str != nullptr)
            m_v.str->swap(text);
    }
    UTILITIES_LOCAL MultiType(WString&& text) : MultiType(u"") {
        if (m_v.wstr != nullptr)
            m_v.wstr->swap(text);
    }

    /// The same for the standard types: `long` and `unsigned long`, and so `std::int64_t`,
    /// `std::uint64_t` and `std::size_t`, are held as the 64-bit integers; `std::string`,
    /// `std::u16string` and the views of both widths as texts.
    template <class Standard, class Held = Own<Standard>>
    MultiType(const Standard& value) : MultiType(static_cast<Held>(value)) {}

    /// Refused: pointers to anything but the characters of a text, `L"..."` among them.
    template <class Pointer, class = ForeignPointer<Pointer>>
    MultiType(Pointer) = delete;

    /// Holds a block: `size` bytes copied from `data`, or `size` zeros if `data` is null. The `id`
    /// means something to the caller only; it is stored, returned and compared.
    MultiType(unsigned int size, const void* data, unsigned int id);

    MultiType(const MultiType& other);

    /// Takes what `other` holds; `other` then holds nothing.
    UTILITIES_LOCAL MultiType(MultiType&& other) noexcept : m_v(other.m_v), m_type(other.m_type) {
        other.m_v.ull = 0;
        other.m_type = TYPE_INVALID;
    }

    /// Replaces what is held by the argument, as the constructor of the same argument does. A text
    /// that replaces a text of the same width is assigned to it, which reuses its memory. A text
    /// pointer must not be null; it may point into what the value holds.
    MultiType& operator=(bool value);
    MultiType& operator=(char value);
    MultiType& operator=(short value);
    MultiType& operator=(int value);
    MultiType& operator=(const __int64& value);
    MultiType& operator=(unsigned char value);
    MultiType& operator=(unsigned short value);
    MultiType& operator=(unsigned int value);
    MultiType& operator=(const unsigned __int64& value);
    MultiType& operator=(float value);
    MultiType& operator=(const double& value);
    MultiType& operator=(const String& text);
    MultiType& operator=(const char* text);
    MultiType& operator=(const WString& text);
    MultiType& operator=(const WideChar* text);
    MultiType& operator=(const MultiType& other);
    UTILITIES_LOCAL MultiType& operator=(String&& text) {
        if (m_type != TYPE_STRING || m_v.str == nullptr)
            return *this = MultiType(std::move(text));
        *m_v.str = std::move(text);
        return *this;
    }
    UTILITIES_LOCAL MultiType& operator=(WString&& text) {
        if (m_type != TYPE_WSTRING || m_v.wstr == nullptr)
            return *this = MultiType(std::move(text));
        *m_v.wstr = std::move(text);
        return *this;
    }
    template <class Standard, class Held = Own<Standard>>
    MultiType& operator=(const Standard& value) {
        return *this = static_cast<Held>(value);
    }
    template <class Pointer, class = ForeignPointer<Pointer>>
    MultiType& operator=(Pointer) = delete;

    /// The two values exchange what they hold.
    UTILITIES_LOCAL MultiType& operator=(MultiType&& other) noexcept {
        std::swap(m_v, other.m_v);
        std::swap(m_type, other.m_type);
        return *this;
    }

    /// Returns the tag. `id`, if not null, receives the id of the block, or 0 if no block is held.
    TYPE Type(unsigned int* id = nullptr) const;

    /// Releases what is held. The value then holds nothing.
    void Invalidate();

    /// Returns false for `TYPE_BOOL` and the unsigned integers, and true for every other tag: also
    /// for texts, for blocks and for a value that holds nothing.
    bool IsSigned() const;

    /// Returns the size in bytes of a number of this type: 1, 2, 4 or 8 from `TYPE_BOOL` to
    /// `TYPE_DOUBLE`, and 0 for every other argument, also for one that isn't a tag.
    static unsigned int GetTypeSize(TYPE type);

    /// Returns the size in bytes of the value's flat form, which `Get` writes to a buffer: that of
    /// the number, that of the block, or that of the text with its terminator (a wide text has two
    /// bytes for each unit). It is 0 if nothing is held, and 4294967295 for a text whose form would
    /// have more bytes than that; such a text has no flat form.
    unsigned int GetValueSize() const;

    /// Replaces `out` by what is held, read as the type of `out`:
    /// - An integer saturates at the bounds of the wanted type. One bound is nearer: an `__int64`
    ///   read as `unsigned int` stops at 2147483647.
    /// - A floating-point number is rounded to the nearest integer, halves away from zero (0.5 is
    ///   added or subtracted and the fraction dropped), and saturates. Read as `unsigned __int64`,
    ///   a `float` stops at 4294967296 and a `double` at 4294967295. A NaN reads as 0; as a 64-bit
    ///   integer it reads as the bit pattern 0x8000000000000000.
    /// - As `float`, a `double` beyond the largest finite `float` reads as that bound. As `float`
    ///   or `double`, an `unsigned __int64` above 9223372036854775807 reads as that number.
    /// - A text reads as the decimal number at its start, after any white space, and as 0 if there
    ///   is none. An integer ends before a decimal point ("2.9" reads as 2) and saturates; as
    ///   `unsigned __int64` it stops at 4294967295. A floating-point number has the decimal point
    ///   of the locale. As `bool` a text is true unless it is empty or exactly "0".
    /// - A block reads as its first bytes in the host's byte order, or as 0 if it has fewer bytes
    ///   than the wanted type. As `bool` it is true if it has a first byte and that isn't 0.
    /// - As `bool`, a number is true unless it equals 0. The byte of a held boolean is passed on
    ///   unchanged, also one above 1; as any other type a boolean reads as 0 or 1.
    /// - A value that holds nothing reads as 0, 0.0 or false.
    void Get(bool& out) const;
    void Get(char& out) const;
    void Get(short& out) const;
    void Get(int& out) const;
    void Get(__int64& out) const;
    void Get(unsigned char& out) const;
    void Get(unsigned short& out) const;
    void Get(unsigned int& out) const;
    void Get(unsigned __int64& out) const;
    void Get(float& out) const;
    void Get(double& out) const;

    /// Replaces `out` by the text of what is held:
    /// - an integer in decimal, the byte of a boolean too;
    /// - a floating-point number as printf's "%g": up to six significant digits, with the decimal
    ///   point of the locale;
    /// - a text as it is, or converted from the other width as the text classes do that (empty if a
    ///   character can't be converted);
    /// - a block as one character for each byte, or in wide text one for every two bytes in the
    ///   host's order without an odd last byte; NULs are kept;
    /// - "Invalid" if nothing is held.
    void Get(String& out) const;
    void Get(WString& out) const;

    /// The same for the standard types: `long` and `unsigned long` read as the 64-bit integers,
    /// `std::string` and `std::u16string` as the texts. A view can't be read, as it would outlive
    /// the text.
    template <class Standard, class Held = Own<Standard>>
    void Get(Standard& out) const {
        out = static_cast<Standard>(GetAs<Held>());
    }
    void Get(std::basic_string_view<char>& out) const = delete;
    void Get(std::basic_string_view<WideChar>& out) const = delete;

    /// Returns what `Get` of the same type reads, for each of the types above.
    template <class T>
    T GetAs() const {
        T result{};
        Get(result);
        return result;
    }

    /// Reads `text` as `type` and holds the result. A number is what `Get` reads from a held text.
    /// `TYPE_RAW` makes a block of the text's bytes without a terminator, with id 0 (of no more
    /// than the first 4294967295 bytes). For `TYPE_STRING`, for `TYPE_WSTRING` too, and for a
    /// number that isn't a tag, the text is held as `TYPE_STRING`. For `TYPE_INVALID` nothing is
    /// held. Always returns true.
    bool SetTyped(const String& text, TYPE type);

    /// Writes the flat form of the value to `buffer`, in the host's byte order (`Get`) or most
    /// significant byte first (`GetBigEndianFormatted`): the bytes of a number; the characters of a
    /// text with their terminator, each unit of wide text in that byte order; the data of a block;
    /// nothing if nothing is held. The form has no header. `type` and `id`, if not null, receive
    /// the tag and the id of the block (0 for any other tag), also when the call fails. `buffer`
    /// needs no alignment.
    ///
    /// On entry `size` is the size of the buffer, on return the size of the form, also when the
    /// call fails. Returns false, with nothing written, if the buffer is smaller than the form or
    /// is null and the form isn't empty. So a first call with null and 0 asks for the size. For a
    /// text without a flat form (see `GetValueSize`) the call fails whatever the buffer, and `size`
    /// is 4294967295.
    bool Get(void* buffer, unsigned int& size, TYPE* type, unsigned int* id) const;
    bool GetBigEndianFormatted(void* buffer, unsigned int& size, TYPE* type,
                               unsigned int* id) const;

    /// Reads the value as `type` and writes the flat form of the result, in the host's byte order.
    /// `size`, `id` and the result are as for `Get`. For `TYPE_INVALID`, and for a number that
    /// isn't a tag, the form is empty and the result is true. `TYPE_RAW` can only be read from a
    /// value that holds a block; otherwise the result is false, with `size` and `id` 0.
    bool GetTyped(void* buffer, unsigned int& size, TYPE type, unsigned int* id) const;

    /// Returns the size that `GetTyped` needs for `type`. For a text it makes the conversion.
    unsigned int GetTypedValueSize(TYPE type) const;

    /// Returns the flat form in the host's byte order without copying it, or null, with size 0, if
    /// nothing is held or the text that is held has no flat form. The pointer is valid until the
    /// value is changed or destroyed. `size`, `type` and `id` receive the size, the tag and the id
    /// of the block (0 for any other tag); each may be null.
    const void* GetBuffer(unsigned int* size, TYPE* type, unsigned int* id) const;

    /// Holds the flat form at `buffer` as a value of `type`, from the host's byte order (`Set`) or
    /// most significant byte first (`SetBigEndianFormatted`). A null `buffer` stands for zeros, or
    /// for the empty text. `id` is the id of a block and ignored for other types. `buffer` needs no
    /// alignment.
    ///
    /// A number takes as many bytes as its type has, and a larger `size` makes no difference. A
    /// text ends at its terminator: `size` doesn't limit it. The byte of a boolean is stored as it
    /// is. `buffer` may lie in what the value holds.
    ///
    /// Returns false, with the value unchanged, if `type` isn't a tag, or if `size` is less than
    /// the size of the number or of the terminator of the text.
    bool Set(const void* buffer, unsigned int size, TYPE type, unsigned int id);
    bool SetBigEndianFormatted(const void* buffer, unsigned int size, TYPE type, unsigned int id);

    /// Reads both values as `type`, which saturates as in `Get`, and returns -1, 0 or 1 if `a` is
    /// below, equal to or above `b`. Booleans are compared by their bytes. Texts are compared by
    /// their characters as unsigned numbers, and a text comes before those that it begins. A NaN
    /// compares as 0 with everything. `TYPE_MIXED_INT64` compares a signed and an unsigned 64-bit
    /// integer by their values. Any other `type` is reported on the standard error stream, with
    /// result 0: `TYPE_INVALID`, `TYPE_RAW` and a number above 15. Comparing as numbers uses no
    /// heap.
    static int compare(const MultiType& a, const MultiType& b, TYPE type);

    /// Returns whether the values are equal when both are read as the type that is common to their
    /// tags: two integers as one that holds the values of both; an integer with a floating-point
    /// number as floating-point numbers; a text as a number, so that two texts are equal if their
    /// numbers are (to compare their characters, use `compare`). Blocks are equal if ids, sizes and
    /// bytes are. Two values that hold nothing are equal. A block, or a value that holds nothing,
    /// is unequal to everything else.
    ///
    /// Values have no `std::hash`: equality is not transitive (a NaN equals every number, and the
    /// integers 16777216 and 16777217 equal one `float`), so only a constant could agree with it.
    bool operator==(const MultiType& other) const;
#if __cplusplus < 202002L
    /// What later dialects derive from it: `a != b`, and a value on the right of `==` alone.
    template <class Other, class = Operand<Other>>
    friend bool operator!=(const MultiType& a, const Other& b) {
        return !(a == b);
    }
    template <class Other, class = LeftOperand<Other>>
    friend bool operator==(const Other& a, const MultiType& b) {
        return b == a;
    }
    template <class Other, class = LeftOperand<Other>>
    friend bool operator!=(const Other& a, const MultiType& b) {
        return !(b == a);
    }
#endif

    /// Writes the text of the value, as `Get` reads it.
    template <class Traits>
    friend std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& out,
                                                        const MultiType& value) {
        return out << value.GetAs<String>();
    }

    /// Returns -1. A derived class may return a number by which its objects can be told from
    /// others; the library never calls this.
    virtual short getCookie() const;

    /// Releases what is held.
    virtual ~MultiType();

protected:
    /// A block in memory: this header, followed by `size` bytes of data and one spare byte.
    struct RawBlock {
        unsigned int id;
        unsigned int size;
        unsigned char* Data() { return reinterpret_cast<unsigned char*>(this + 1); }
        const unsigned char* Data() const {
            return reinterpret_cast<const unsigned char*>(this + 1);
        }
    };

    /// Replaces what is held by a block, as the constructor of the same arguments does. `data` may
    /// point into what is held. If memory runs out, the value holds nothing, or still what `data`
    /// points into. A replaced `operator new` that returns null instead of throwing is reported on
    /// the standard error stream, and the value holds nothing.
    void StoreRaw(unsigned int size, const void* data, unsigned int id);

    /// What the assignment operators do. If memory runs out for a text, the value has the tag of
    /// the text but holds none; it may only be invalidated, assigned to or destroyed then.
    void assign(bool value);
    void assign(char value);
    void assign(short value);
    void assign(int value);
    void assign(const __int64& value);
    void assign(unsigned char value);
    void assign(unsigned short value);
    void assign(unsigned int value);
    void assign(const unsigned __int64& value);
    void assign(float value);
    void assign(const double& value);
    void assign(const String& text);
    void assign(const char* text);
    void assign(const WString& text);
    void assign(const WideChar* text);
    void assign(const MultiType& other);

    /// What is held; the tag tells which member. A number lies at the start of the eight bytes.
    union Datum {
        RawBlock* r;
        unsigned char b;
        signed char c;
        short sh;
        int i;
        __int64 ll;
        unsigned char uc;
        unsigned short ush;
        unsigned int ui;
        unsigned __int64 ull;
        float f;
        double d;
        String* str;
        WString* wstr;
    } m_v;
    TYPE m_type;

private:
    /// Frees what is held and zeroes the datum. The tag stays as it is.
    UTILITIES_LOCAL void ReleaseValue();

    /// Releases what is held, sets the tag, and returns the zeroed datum.
    UTILITIES_LOCAL Datum& Renew(TYPE type);

    /// Holds a copy of the block or text of `other`, in a value that is being constructed.
    UTILITIES_LOCAL void HoldCopy(const MultiType& other);

    /// Holds the text of `source` in `held`, which is the datum's member for that tag.
    template <class Text, class Source>
    UTILITIES_LOCAL void HoldText(Text*& held, TYPE type, Source&& source);

    /// Holds the text, which isn't part of what is held.
    UTILITIES_LOCAL void HoldWide(WString&& text);
};

#endif
