/// A tagged value: one small object that holds a boolean, an integer of one of eight forms, a
/// floating number, a text of either width, a raw block of bytes, or nothing.
///
/// A reader names the form it wants, whatever is held, and always gets a result: what is out of
/// range saturates, floating numbers round, texts are parsed, blocks are taken byte for byte.
/// Nothing here reports a failure; the exceptions of exhausted memory pass.
///
/// A value owns what it holds alone: a copy copies the block or text. No lock is taken: separate
/// values can be used on separate threads at the same time; one value can't be changed on one
/// thread while another uses it.
#ifndef UTILITIES_VALUES_MULTITYPE_H
#define UTILITIES_VALUES_MULTITYPE_H

#include <utility>

#include "utilities/frame/export.h"
#include "utilities/platform/types.h"
#include "utilities/text/qelstring.h"

class UTILITIES_EXPORT MultiType {
public:
    /// What a value holds. The numbers are fixed: they cross between programs.
    enum TYPE : int {
        TYPE_INVALID = 0,  ///< Nothing.
        TYPE_RAW = 1,      ///< A block of bytes with a 32-bit id.
        TYPE_BOOL = 2,     ///< One byte, 0 and 1 for false and true.
        TYPE_CHAR = 3,     ///< Signed 8 bits, whatever the compiler's `char` is.
        TYPE_SHORT = 4,    ///< Signed 16 bits.
        TYPE_INT = 5,      ///< Signed 32 bits.
        TYPE_INT64 = 6,
        TYPE_UCHAR = 7,
        TYPE_USHORT = 8,
        TYPE_UINT = 9,
        TYPE_UINT64 = 10,
        TYPE_FLOAT = 11,   ///< IEEE 754 single.
        TYPE_DOUBLE = 12,  ///< IEEE 754 double.
        TYPE_STRING = 13,
        TYPE_WSTRING = 14,
        TYPE_MIXED_INT64 = 15  ///< A way to compare; no value holds it.
    };

    /// Holds nothing.
    MultiType();

    /// Each holds its argument. A text pointer must not be null.
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

    /// Holds a block of `size` bytes copied from `data`, or zeros where `data` is null. `id` is the
    /// caller's own: it is kept, handed back and compared.
    MultiType(unsigned int size, const void* data, unsigned int id);

    MultiType(const MultiType& other);

    /// Takes over what `other` holds and leaves it holding nothing.
    UTILITIES_LOCAL MultiType(MultiType&& other) noexcept : m_v(other.m_v), m_type(other.m_type) {
        other.m_v.ull = 0;
        other.m_type = TYPE_INVALID;
    }

    /// Each releases what was held and holds its argument. A text over a text of the same width
    /// keeps the text object. A text pointer must not be null; it may point into the text that is
    /// held.
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

    /// Exchanges what the two hold.
    UTILITIES_LOCAL MultiType& operator=(MultiType&& other) noexcept {
        std::swap(m_v, other.m_v);
        std::swap(m_type, other.m_type);
        return *this;
    }

    /// The tag. `id`, where not null, receives the block's id, or 0 where no block is held.
    TYPE Type(unsigned int* id = nullptr) const;

    /// Releases what is held; the value then holds nothing.
    void Invalidate();

    /// False for `TYPE_BOOL` and the unsigned integers, true for every other tag, texts, blocks and
    /// nothing included.
    bool IsSigned() const;

    /// The bytes that a value of an inline form takes: 1, 2, 4 or 8 from `TYPE_BOOL` to
    /// `TYPE_DOUBLE`, 0 for every other argument, one that is no tag included.
    static unsigned int GetTypeSize(TYPE type);

    /// The bytes of the value's flat form: those of `GetTypeSize`, a block's size, a text's
    /// characters with their terminator (two bytes for a unit of wide text), 0 for nothing.
    unsigned int GetValueSize() const;

    /// Each replaces its argument by what is held, read as that type:
    /// - integers saturate at the bounds of the target, with these exceptions: an `__int64` read as
    ///   `unsigned int` stops at 2147483647; read as `unsigned __int64`, a `float` stops at
    ///   4294967296, a `double` and a text at 4294967295;
    /// - floating numbers round to the nearest integer (0.5 is added or subtracted, the fraction
    ///   cut) and saturate; a NaN gives 0, as 64-bit integer the pattern 0x8000000000000000;
    /// - as `float`, a `double` or text beyond the largest finite one gives that one; an
    ///   `unsigned __int64` above 9223372036854775807 reads as that number in both floating types;
    /// - a text gives the decimal number at its start, behind white space, with the locale's
    ///   decimal point, and 0 where there is none; it is read in place. As `bool` it is true unless
    ///   it is empty or exactly "0";
    /// - a block gives its first bytes in host order, and 0 where it is shorter than the target; as
    ///   `bool` it is true where it has a first byte that is not 0;
    /// - as `bool` a number is true unless it equals 0, and a held boolean's byte passes unchanged;
    ///   every other reading of a boolean gives 0 or 1;
    /// - nothing gives 0, 0.0 and false.
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

    /// Replaces `out` by the value's text: a number in decimal, a floating one as printf's "%g"
    /// (six significant digits, the locale's decimal point), a boolean's byte as a number, a text
    /// as it is or crossed from the other width, "Invalid" for nothing. A block's bytes become the
    /// characters, NULs included; in wide text two bytes a unit in host order, an odd last byte
    /// left out.
    void Get(String& out) const;
    void Get(WString& out) const;

    /// The reading by value, for the thirteen types above.
    template <class T>
    T GetAs() const {
        T result{};
        Get(result);
        return result;
    }

    /// Holds `text` as a value of `type`; always true. Numbers are read and saturate as in `Get` of
    /// a held text. `TYPE_RAW` takes the text's bytes without a terminator, with id 0.
    /// `TYPE_STRING`, `TYPE_WSTRING` and every number that is no tag hold it as `TYPE_STRING`.
    bool SetTyped(const String& text, TYPE type);

    /// Writes the value's flat form to `buffer`, which needs no alignment, in the host's byte order
    /// or most significant byte first: a number's bytes, a text's characters with their terminator
    /// (each unit of wide text in that order), a block's data, nothing for no value. A form has no
    /// header; `type` and `id` receive the tag and the block's id (else 0) where they are not null.
    ///
    /// `size` comes in as the buffer's size and leaves as the bytes that the form takes. Where it
    /// was smaller, or `buffer` is null and there is something to write, nothing is written and the
    /// result is false; so a first call with null and 0 asks for the size.
    bool Get(void* buffer, unsigned int& size, TYPE* type, unsigned int* id) const;
    bool GetBigEndianFormatted(void* buffer, unsigned int& size, TYPE* type,
                               unsigned int* id) const;

    /// Writes the form, in the host's order, that the value has when it is read as `type`; `size`,
    /// `id` and the result are those of `Get`. `TYPE_INVALID` and what is no tag take 0 bytes and
    /// give true. A block can only be had of a value that holds one: else false, with size and id
    /// 0.
    bool GetTyped(void* buffer, unsigned int& size, TYPE type, unsigned int* id) const;

    /// The bytes that `GetTyped` needs for `type`.
    unsigned int GetTypedValueSize(TYPE type) const;

    /// The flat form in the host's order where it lies: the pointer is good until the value is
    /// changed or destroyed. Null for a value that holds nothing. Each argument may be null.
    const void* GetBuffer(unsigned int* size, TYPE* type, unsigned int* id) const;

    /// Holds the flat form at `buffer` as a value of `type`; a null `buffer` stands for zeros, or
    /// for the empty text. False, with the value unchanged, where `type` is no tag or `size` is
    /// less than the number takes, or than a text's terminator. `size` bounds no text: it ends at
    /// its terminator. `id` is for a block. A boolean's byte is kept as it is. `buffer` may lie in
    /// what the value holds, unless `type` is `TYPE_RAW` or a text of the other width.
    bool Set(const void* buffer, unsigned int size, TYPE type, unsigned int id);
    bool SetBigEndianFormatted(const void* buffer, unsigned int size, TYPE type, unsigned int id);

    /// -1, 0 or 1 as `a` is below, equal to or above `b` when both are read as `type`, with the
    /// saturation of that reading: booleans by their byte, texts by their characters as unsigned
    /// numbers, a prefix first. A NaN compares as 0 with everything. `TYPE_MIXED_INT64` compares
    /// 64-bit integers of both signs by value. For `TYPE_INVALID`, `TYPE_RAW` and what names no way
    /// to compare the result is 0, which is reported on the standard error stream. Numbers use no
    /// heap.
    static int compare(const MultiType& a, const MultiType& b, TYPE type);

    /// Whether the values are equal when both are read as the one type in which their kinds meet:
    /// integers in one that holds both, a floating number or a text with a number as floating
    /// numbers, and two texts as numbers too. Values that hold nothing are equal to each other, and
    /// blocks of the same id and bytes.
    bool operator==(const MultiType& other) const;

    /// -1. For derived classes to tell themselves apart; nothing in the library asks.
    virtual short getCookie() const;

    /// Releases what is held.
    virtual ~MultiType();

protected:
    /// A block in memory: this header, `size` bytes of data directly behind it, and one spare byte.
    struct RawBlock {
        unsigned int id;
        unsigned int size;
        unsigned char* Data() { return reinterpret_cast<unsigned char*>(this + 1); }
        const unsigned char* Data() const {
            return reinterpret_cast<const unsigned char*>(this + 1);
        }
    };

    /// Releases what was held and holds a block, as the constructor with the same arguments does.
    /// `data` must not point into what is held. Where memory runs out the value holds nothing; an
    /// allocator that answers null instead of throwing is reported.
    void StoreRaw(unsigned int size, const void* data, unsigned int id);

    /// What the assignment operators do. Where memory runs out for a text, the tag is that of the
    /// text and no text is held; such a value can be invalidated, assigned to and destroyed.
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

    /// What is held, by tag. An inline form has the width of its tag at the start.
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
    /// Frees what is held and zeroes it; the tag is the caller's to set.
    UTILITIES_LOCAL void ReleaseValue();
    UTILITIES_LOCAL void FreeMemory();

    /// Releases what is held, sets the tag and gives the zeroed datum to be filled.
    UTILITIES_LOCAL Datum& Renew(TYPE type);

    template <class Text, class Source>
    UTILITIES_LOCAL void HoldText(Text*& held, TYPE type, const Source& source);
    template <class T>
    UTILITIES_LOCAL void Read(T& out) const;

    /// Both read as the number `T`, or the text, of that tag.
    template <class T, class Held>
    UTILITIES_LOCAL static int CompareNumbers(const MultiType& a, const MultiType& b, TYPE type,
                                              Held Datum::*held);
    template <class Text>
    UTILITIES_LOCAL static int CompareTexts(const MultiType& a, const MultiType& b, TYPE type,
                                            Text* Datum::*held);

    /// The type in which two values meet.
    UTILITIES_LOCAL static TYPE CommonType(const MultiType& v1, const MultiType& v2);

    /// The exchange in either order: units of `unit` bytes are reversed.
    UTILITIES_LOCAL bool Write(void* buffer, unsigned int& size, TYPE* type, unsigned int* id,
                               unsigned int unit) const;
    UTILITIES_LOCAL bool Take(const void* buffer, unsigned int size, TYPE type, unsigned int id,
                              unsigned int unit);
    template <class T>
    UTILITIES_LOCAL bool WriteAs(void* buffer, unsigned int& size) const;
    template <class Text>
    UTILITIES_LOCAL bool WriteAsText(void* buffer, unsigned int& size) const;
    template <class Text>
    UTILITIES_LOCAL void ReadText(Text& out) const;
};

#endif
