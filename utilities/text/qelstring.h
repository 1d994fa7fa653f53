/// The text classes of both widths: the standard strings with a conversion to the other width,
/// tests for the ASCII and Latin-1 subsets, trimming, case folding, printf-style formatting,
/// wildcards and paths.
///
/// `String` is a `std::basic_string<char>`, `WString` a `std::basic_string<WideChar>`; neither adds
/// data, so each can be passed wherever the standard string is expected, and all of the standard
/// string's operations stay available. The two have the same operations, named alike; only those
/// that have no counterpart differ.
///
/// A conversion to the other width follows the calling thread's character-type locale (`uselocale`,
/// or else `setlocale`; the library never sets one) and ends at the first NUL of the source. It is
/// all or nothing: if one character can't be converted, the result is the empty text, without a
/// report. In a UTF-8 locale a pair of surrogates becomes a four-byte sequence and the reverse; a
/// surrogate without its other half, an invalid byte and a code point above 0x10FFFF can't be
/// converted. In the "C" locale nothing above 0x7F can. The conversion of a wide text of n units
/// has at most 2 n + 2 bytes: where it would need more, it ends at the last whole character that
/// fits.
///
/// Operations that take a text of the other width use its conversion, and so the empty text where
/// it fails. In the "C" locale `String("abc").Find(u"\u00E9")` is therefore 0, the position at
/// which the empty text is found, and not -1.
///
/// Library code throws nothing here; the exceptions of the standard strings pass (a position beyond
/// the end, exhausted memory). Separate objects can be used on separate threads at the same time;
/// one object can't be changed on one thread while another uses it. No thread may call `setlocale`
/// during a conversion, a change of case or a `Format`.
#ifndef UTILITIES_TEXT_QELSTRING_H
#define UTILITIES_TEXT_QELSTRING_H

#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "utilities/frame/export.h"
#include "utilities/frame/types.h"

/// Narrow text.
class UTILITIES_EXPORT String : public std::basic_string<char> {
    template <class... Arguments>
    using AnyObject =
        std::enable_if_t<((std::is_class_v<Arguments> || std::is_union_v<Arguments>) || ...)>;

public:
    String();

    /// The text up to its terminating NUL. For a null pointer the base's constructor throws
    /// `std::logic_error`.
    String(const char* text);
    String(const std::basic_string<char>& text);
    UTILITIES_LOCAL String(std::basic_string<char>&& text) noexcept
        : std::basic_string<char>(std::move(text)) {}

    /// The conversion of `text`.
    String(const std::basic_string<WideChar>& text);
    template <class View,
              class = std::enable_if_t<std::is_same_v<View, std::basic_string_view<WideChar>>>>
    explicit String(View text) : String(std::basic_string<WideChar>(text)) {}

    /// All others of the base.
    using std::basic_string<char>::basic_string;

    String(const String& other);
    UTILITIES_LOCAL String(String&& other) noexcept = default;
    ~String();
    String& operator=(const String& other);
    UTILITIES_LOCAL String& operator=(String&& other) noexcept = default;
    using std::basic_string<char>::operator=;
    template <class View,
              class = std::enable_if_t<std::is_same_v<View, std::basic_string_view<WideChar>>>>
    String& operator=(View text) {
        Assign(std::basic_string<WideChar>(text));
        return *this;
    }

    /// Replaces the content by the conversion of `text`.
    void Assign(const std::basic_string<WideChar>& text);

    /// The base's operations of the same names, with the conversion of `text` in the place of a
    /// text of this width. `Insert` and `Replace` throw `std::out_of_range` for a `pos` beyond the
    /// end.
    void Append(const std::basic_string<WideChar>& text);
    void Insert(unsigned int pos, const std::basic_string<WideChar>& text);
    void Replace(unsigned int pos, unsigned int count, const std::basic_string<WideChar>& text);
    int Compare(const std::basic_string<WideChar>& text) const;

    /// The base's searches for the conversion of `text`. The result is a position, or -1 if nothing
    /// was found; positions from 2^31 on don't fit and are cut to 32 bits.
    int Find(const std::basic_string<WideChar>& text, unsigned int pos = 0) const;
    int Rfind(const std::basic_string<WideChar>& text, unsigned int pos = 0xFFFFFFFF) const;
    int Find_first_of(const std::basic_string<WideChar>& text, unsigned int pos = 0) const;
    int Find_last_of(const std::basic_string<WideChar>& text, unsigned int pos = 0xFFFFFFFF) const;
    int Find_first_not_of(const std::basic_string<WideChar>& text, unsigned int pos = 0) const;
    int Find_last_not_of(const std::basic_string<WideChar>& text,
                         unsigned int pos = 0xFFFFFFFF) const;

    /// Replaces `out` by the conversion of this text.
    void ToWideString(std::basic_string<WideChar>& out) const;

    /// Whether every byte up to the first NUL is at most 0x7F; true for the empty text.
    bool IsASCII() const;

    /// Whether every byte up to the first NUL, read as unsigned, is at most 0x7F or at least 0xA0.
    bool IsLatin1() const;

    /// Remove the white space (the locale's `isspace`) at the start, or at the end.
    void LTrim();
    void RTrim();

    /// Replace each character, also after a NUL, by its upper or lower case in the locale.
    /// Multibyte characters stay as they are.
    void ToUpper();
    void ToLower();

    /// Replaces the content by printf's text of `format` and its arguments. Returns false, and
    /// leaves the content as it was, if the text has more than 1024 characters, if an argument
    /// can't be converted to this width, and if a floating number finds no memory for its digits.
    ///
    /// Conversions: d i u o x X c s p n e E f F g G a A and %, flags "-+ #0", width and precision,
    /// lengths hh h l ll j z t L and I64. `%s` and `%c` take narrow text, `%S`, `%C`, `%ls` and
    /// `%lc` wide text of 16-bit units; a precision counts characters of the result, which ends at
    /// a whole one. A text argument ends at its first NUL, while a NUL given to `%c` is written. A
    /// null text prints "(null)", a null `%p` "(nil)"; other pointers print as "0x" and digits.
    /// What is no conversion is printed as it stands. `format` must not be null; arguments may
    /// point into this text.
    ///
    /// An object as an argument, a `String` for `%s` say, is refused by the compiler: pass its
    /// `c_str()`. That other arguments have the types of their conversions, nothing checks.
    ///
    /// Takes up to 4 kB of stack beside the result; for a double with the flag # or as `%a` up to
    /// 13 kB and for a long double up to 110 kB, by its digits.
    bool Format(const char* format, ...);
    template <class... Arguments, class = AnyObject<Arguments...>>
    bool Format(const char* format, const Arguments&... arguments) = delete;

    /// Empties the text and returns false: the library holds no table of texts.
    bool LoadStringA(unsigned int id);

    /// Whether the whole text matches `pattern`: `*` stands for any run of characters, the empty
    /// one too, `?` for exactly one, every other character for itself, by value. There is no
    /// escape; `/` and `\` are plain characters. Both texts end at their first NUL. Takes at most
    /// the product of the lengths in steps.
    bool WildcardMatch(const std::basic_string<char>& pattern) const;

    /// Operations on the text as a path, without a look at any disk. `/` and `\` both separate
    /// directories and `:` ends a drive, on every system. A pointer must not be null unless said
    /// otherwise; it may point into this text.

    /// The position of the dot that begins the extension: the last one, unless it belongs to a
    /// directory's name. -1 if there is none; a position from 2^31 on is cut to 32 bits.
    int GetExtDotPos() const;

    /// The text after that dot; empty if there is none.
    String GetExtension() const;

    /// Replaces the extension, or adds one. `extension` may begin with its dot or not.
    void SetExtension(const char* extension);

    /// Replaces the text after the last `/`. If there is none, the last `\` counts, and without
    /// that the last `:`. Without any of these the whole text is replaced.
    void SetFilename(const char* name);

    /// Cuts the path into the drive (the first two characters if the second is `:`), the directory
    /// (up to and including the last separator), the extension (from the last dot of the rest on,
    /// with the dot) and the name between these. Each part is stored in its argument unless that is
    /// null. Of a part with more than 255 characters only the first 255 are stored. The path ends
    /// at its first NUL.
    void SplitPath(std::basic_string<char>* drive, std::basic_string<char>* directory,
                   std::basic_string<char>* name, std::basic_string<char>* extension) const;

    /// Replaces the text by the parts one after the other. A colon is added after a drive, a
    /// backslash after a directory and a dot in front of an extension that have none; an empty part
    /// adds nothing. If the result has more than 259 characters, the text becomes empty.
    void MakePath(const std::basic_string<char>& drive, const std::basic_string<char>& directory,
                  const std::basic_string<char>& name, const std::basic_string<char>& extension);

    /// Adds `c` unless the text ends with it.
    void SetTerminationChar(char c);

    /// The name and extension of `path`, as `SplitPath` cuts it.
    static String RemoveDriveAndDir(const String& path);

    /// Turns a revision keyword, "$Name:" and a tag up to a "$", into the bare tag: the first
    /// "$Name:" and then the first "$" are removed and the rest is trimmed; other text stays. A
    /// text of up to 7 characters or without such a keyword becomes "<no label>".
    void StripOffTagNameAndDollarSigns();

    /// Reads the stream to its end and appends each word with a line feed after it. Returns false
    /// if the stream's bad bit is set then, and reports that on the standard error stream.
    bool FromAsciiFile(std::basic_fstream<char>& fs);

private:
    static const String sEmpty;
};

/// Wide text. The comments of `String` hold with the widths exchanged; a character is one 16-bit
/// unit.
class UTILITIES_EXPORT WString : public std::basic_string<WideChar> {
    template <class... Arguments>
    using AnyObject =
        std::enable_if_t<((std::is_class_v<Arguments> || std::is_union_v<Arguments>) || ...)>;

public:
    WString();
    WString(const WideChar* text);
    WString(const std::basic_string<WideChar>& text);
    UTILITIES_LOCAL WString(std::basic_string<WideChar>&& text) noexcept
        : std::basic_string<WideChar>(std::move(text)) {}

    /// The conversion of `text`. For a null pointer the narrow base's constructor throws
    /// `std::logic_error`.
    WString(const std::basic_string<char>& text);
    WString(const char* text);
    template <class View,
              class = std::enable_if_t<std::is_same_v<View, std::basic_string_view<char>>>>
    explicit WString(View text) : WString(std::basic_string<char>(text)) {}

    using std::basic_string<WideChar>::basic_string;

    WString(const WString& other);
    UTILITIES_LOCAL WString(WString&& other) noexcept = default;
    ~WString();
    WString& operator=(const WString& other);
    UTILITIES_LOCAL WString& operator=(WString&& other) noexcept = default;
    using std::basic_string<WideChar>::operator=;
    template <class View,
              class = std::enable_if_t<std::is_same_v<View, std::basic_string_view<char>>>>
    WString& operator=(View text) {
        Assign(std::basic_string<char>(text));
        return *this;
    }

    void Assign(const std::basic_string<char>& text);
    void Append(const std::basic_string<char>& text);
    void Insert(unsigned int pos, const std::basic_string<char>& text);
    void Replace(unsigned int pos, unsigned int count, const std::basic_string<char>& text);
    int Compare(const std::basic_string<char>& text) const;

    int Find(const std::basic_string<char>& text, unsigned int pos = 0) const;
    int Rfind(const std::basic_string<char>& text, unsigned int pos = 0xFFFFFFFF) const;
    int Find_first_of(const std::basic_string<char>& text, unsigned int pos = 0) const;
    int Find_last_of(const std::basic_string<char>& text, unsigned int pos = 0xFFFFFFFF) const;
    int Find_first_not_of(const std::basic_string<char>& text, unsigned int pos = 0) const;
    int Find_last_not_of(const std::basic_string<char>& text, unsigned int pos = 0xFFFFFFFF) const;

    /// Replaces `out` by the conversion of this text.
    void ToNarrowString(std::basic_string<char>& out) const;

    /// Replaces `out` by this text up to its first NUL, a byte for each unit: the unit's value if
    /// `IsASCII`, or `IsLatin1`, accepts it, otherwise '?'. Always returns true: a caller who needs
    /// to know whether something was replaced calls `IsASCII` or `IsLatin1` first.
    bool ToASCIIString(std::basic_string<char>& out) const;
    bool ToLatin1String(std::basic_string<char>& out) const;

    /// Whether every unit up to the first NUL is at most 0x7F.
    bool IsASCII() const;

    /// Whether every unit up to the first NUL is at most 0x7F, or from 0xA0 to 0xFF.
    bool IsLatin1() const;

    void LTrim();
    void RTrim();
    void ToUpper();
    void ToLower();

    /// As in `String`, with `%s` and `%c` for wide text, `%S`, `%C`, `%hs` and `%hc` for narrow.
    bool Format(const WideChar* format, ...);
    template <class... Arguments, class = AnyObject<Arguments...>>
    bool Format(const WideChar* format, const Arguments&... arguments) = delete;

    bool LoadStringA(unsigned int id);

    /// As in `String`; whole units are compared.
    bool WildcardMatch(const std::basic_string<WideChar>& pattern) const;

    int GetExtDotPos() const;
    WString GetExtension() const;
    void SetExtension(const WideChar* extension);
    void SetFilename(const WideChar* name);
    void SplitPath(std::basic_string<WideChar>* drive, std::basic_string<WideChar>* directory,
                   std::basic_string<WideChar>* name, std::basic_string<WideChar>* extension) const;
    void MakePath(const std::basic_string<WideChar>& drive,
                  const std::basic_string<WideChar>& directory,
                  const std::basic_string<WideChar>& name,
                  const std::basic_string<WideChar>& extension);
    void SetTerminationChar(WideChar c);

private:
    static const WString sEmpty;
};

// What a text that stays within its object is made and destroyed by.
UTILITIES_INLINE String::String() = default;
UTILITIES_INLINE String::~String() = default;
UTILITIES_INLINE WString::WString() = default;
UTILITIES_INLINE WString::~WString() = default;

// A text hashes as the standard string that it is.
/// @cond
template <>
struct std::hash<String> : std::hash<std::basic_string<char>> {};
template <>
struct std::hash<WString> : std::hash<std::basic_string<WideChar>> {};
/// @endcond

#endif
