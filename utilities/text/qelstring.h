/// The text classes of both widths: the standard strings with a crossing to the other width, tests
/// for the ASCII and Latin-1 subsets, trimming, case folding, printf-style formatting,
/// wildcards and paths.
///
/// `String` is a `std::basic_string<char>`, `WString` a `std::basic_string<WideChar>`; neither adds
/// data, so each can be passed wherever the standard string is expected, and all of the standard
/// string's operations stay available. The two have the same operations, named alike; only those
/// that have no counterpart differ.
///
/// Crossing converts by the process's present character-type locale (the library never sets one),
/// up to the first NUL of the source, and is all or nothing: a character that can't be converted
/// gives an empty text and no report. In a UTF-8 locale a pair of surrogates and a four-byte
/// sequence cross into each other; a surrogate alone, an invalid byte and a code point above
/// 0x10FFFF can't be converted. In the "C" locale nothing above 0x7F can. A wide text of n units
/// crosses to at most 2 n + 2 bytes, cut at a whole character where it would need more.
///
/// Library code throws nothing here; the exceptions of the standard strings pass (a position beyond
/// the end, exhausted memory). Separate objects can be used on separate threads at the same time;
/// one object can't be changed on one thread while another uses it.
#ifndef UTILITIES_TEXT_QELSTRING_H
#define UTILITIES_TEXT_QELSTRING_H

#include <iosfwd>
#include <string>

#include "utilities/frame/export.h"
#include "utilities/platform/types.h"

/// Narrow text.
class UTILITIES_EXPORT String : public std::basic_string<char> {
public:
    String();

    /// The text up to its terminating NUL. A null pointer throws as the base's constructor does.
    String(const char* text);
    String(const std::basic_string<char>& text);

    /// The crossing of `text`.
    String(const std::basic_string<WideChar>& text);

    String(const String& other);
    UTILITIES_LOCAL String(String&& other) noexcept = default;
    ~String();
    String& operator=(const String& other);
    UTILITIES_LOCAL String& operator=(String&& other) noexcept = default;
    using std::basic_string<char>::operator=;

    /// Replaces the content by the crossing of `text`.
    void Assign(const std::basic_string<WideChar>& text);

    /// The base's operations of the same names, with the crossing of `text` in the place of a text
    /// of this width. `Insert` and `Replace` throw `std::out_of_range` for a `pos` beyond the end.
    void Append(const std::basic_string<WideChar>& text);
    void Insert(unsigned int pos, const std::basic_string<WideChar>& text);
    void Replace(unsigned int pos, unsigned int count, const std::basic_string<WideChar>& text);
    int Compare(const std::basic_string<WideChar>& text) const;

    /// The base's searches for the crossing of `text`. The result is a position, or -1 where
    /// nothing was found.
    int Find(const std::basic_string<WideChar>& text, unsigned int pos = 0) const;
    int Rfind(const std::basic_string<WideChar>& text, unsigned int pos = 0xFFFFFFFF) const;
    int Find_first_of(const std::basic_string<WideChar>& text, unsigned int pos = 0) const;
    int Find_last_of(const std::basic_string<WideChar>& text, unsigned int pos = 0xFFFFFFFF) const;
    int Find_first_not_of(const std::basic_string<WideChar>& text, unsigned int pos = 0) const;
    int Find_last_not_of(const std::basic_string<WideChar>& text,
                         unsigned int pos = 0xFFFFFFFF) const;

    /// Replaces `out` by the crossing of this text.
    void ToWideString(std::basic_string<WideChar>& out) const;

    /// Whether every byte up to the first NUL is at most 0x7F. The empty text is.
    bool IsASCII() const;

    /// Whether every byte up to the first NUL, read as unsigned, is at most 0x7F or at least 0xA0.
    bool IsLatin1() const;

    /// Removes the white space (the locale's `isspace`) at the start, or at the end.
    void LTrim();
    void RTrim();

    /// Replaces each character, NULs included, by the locale's other case of it.
    void ToUpper();
    void ToLower();

    /// Replaces the content by printf's text of `format` and its arguments; true on success. A text
    /// of over 1024 characters, or with an argument that can't cross, gives false, and the content
    /// stays.
    ///
    /// Conversions: d i u o x X c s p n e E f F g G a A and %, flags "-+ #0", width and precision,
    /// lengths hh h l ll j z t L and I64. `%s` and `%c` take narrow text, `%S`, `%C`, `%ls` and
    /// `%lc` wide text of 16-bit units. A null text prints "(null)". `format` must not be null;
    /// arguments may point into this text.
    bool Format(const char* format, ...);

    /// Empties the text and gives false: the library holds no table of texts.
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
    /// directory's name. -1 where there is none.
    int GetExtDotPos() const;

    /// What stands behind that dot; empty where there is none.
    String GetExtension() const;

    /// Replaces the extension, or adds one. `extension` may bring its dot.
    void SetExtension(const char* extension);

    /// Replaces what stands behind the last `/`, or where there is none the last `\`, or else the
    /// last `:`. Without any of these the whole text is replaced.
    void SetFilename(const char* name);

    /// Cuts the path into the drive (the first two characters where the second is `:`), the
    /// directory (up to the last separator), the extension (from the last dot of the rest on, with
    /// it) and the name between these. Each goes to its argument unless that is null; of more than
    /// 2 characters for the drive and 255 for the others only the first ones arrive.
    void SplitPath(std::basic_string<char>* drive, std::basic_string<char>* directory,
                   std::basic_string<char>* name, std::basic_string<char>* extension) const;

    /// Replaces the text by the parts behind each other, with a colon behind a drive, a backslash
    /// behind a directory and a dot ahead of an extension that have none; an empty part adds
    /// nothing. A result of over 259 characters gives the empty text.
    void MakePath(const std::basic_string<char>& drive, const std::basic_string<char>& directory,
                  const std::basic_string<char>& name, const std::basic_string<char>& extension);

    /// Adds `c` unless the text ends in it.
    void SetTerminationChar(char c);

    /// The name and extension of `path`, as `SplitPath` cuts it.
    static String RemoveDriveAndDir(const String& path);

    /// Turns a revision keyword, "$Name:" and a tag up to a "$", into the bare tag, trimmed; text
    /// around it stays. A text of up to 7 characters or without such a keyword becomes "<no
    /// label>".
    void StripOffTagNameAndDollarSigns();

    /// Adds each word of the stream, up to its end, and a line feed behind each. True unless the
    /// stream's bad bit is set then, which is also reported on the standard error stream.
    bool FromAsciiFile(std::basic_fstream<char>& fs);

private:
    static const String sEmpty;
};

/// Wide text. What is said of an operation of `String` holds with the widths exchanged; a character
/// is one 16-bit unit.
class UTILITIES_EXPORT WString : public std::basic_string<WideChar> {
public:
    WString();
    WString(const WideChar* text);
    WString(const std::basic_string<WideChar>& text);

    /// The crossing of `text`. A null pointer throws as the narrow base's constructor does.
    WString(const std::basic_string<char>& text);
    WString(const char* text);

    WString(const WString& other);
    UTILITIES_LOCAL WString(WString&& other) noexcept = default;
    ~WString();
    WString& operator=(const WString& other);
    UTILITIES_LOCAL WString& operator=(WString&& other) noexcept = default;
    using std::basic_string<WideChar>::operator=;

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

    /// Replaces `out` by the crossing of this text.
    void ToNarrowString(std::basic_string<char>& out) const;

    /// Replaces `out` by this text up to its first NUL, a byte for each unit: those that `IsASCII`,
    /// or `IsLatin1`, accepts as they are, '?' for every other. Always true, so that a caller who
    /// needs to know whether something was replaced asks for the subset first.
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

#endif
