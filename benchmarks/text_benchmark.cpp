// Conversion of texts between the widths in a UTF-8 locale, and printf-style formatting.
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>
#ifdef UTILITIES_HAS_ABSEIL
#include <absl/strings/str_format.h>
#endif
#ifdef UTILITIES_HAS_ICU
#include <unicode/unistr.h>
#include <unicode/ustring.h>
#endif
#ifdef UTILITIES_HAS_POCO
#include <Poco/Format.h>
#endif
#ifdef UTILITIES_HAS_QT
#include <QByteArray>
#include <QString>
#endif

#include "benchmarks/measure.h"
#include "utilities/text/qelstring.h"

namespace {

/// 64 characters each; the second in one to four bytes.
constexpr char ASCII_TEXT[] = "The quick brown fox jumps over the lazy dog; then it sleeps well";
constexpr char MIXED_TEXT[] =
    "Grüße aus Köln: 9 € für 東京と大阪, αβγδ, добрый день – 😀, naïve café";

/// One text in the classes of all libraries.
struct Forms {
    explicit Forms(const char* text) : narrow(text), wide(narrow), host(narrow.size(), L'\0') {
        host.resize(std::mbstowcs(host.data(), text, host.size()));
#ifdef UTILITIES_HAS_ICU
        icu = icu::UnicodeString::fromUTF8(narrow);
#endif
#ifdef UTILITIES_HAS_QT
        qt = QString::fromUtf8(text);
#endif
    }

    String narrow;
    WString wide;
    std::wstring host;
#ifdef UTILITIES_HAS_ICU
    icu::UnicodeString icu;
#endif
#ifdef UTILITIES_HAS_QT
    QString qt;
#endif
};

/// Enough for 64 characters in any of the forms.
constexpr std::size_t CAPACITY = 256;

#ifdef UTILITIES_HAS_ICU
std::size_t DecodeByIcu(char16_t (&buffer)[CAPACITY], const String& text) {
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strFromUTF8(buffer, CAPACITY, &length, text.data(), static_cast<int32_t>(text.size()),
                  &error);
    return static_cast<std::size_t>(length);
}

std::size_t EncodeByIcu(char (&buffer)[CAPACITY], const WString& text) {
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strToUTF8(buffer, CAPACITY, &length, text.data(), static_cast<int32_t>(text.size()), &error);
    return static_cast<std::size_t>(length);
}
#endif

/// Into a new text of the other width.
void MeasureConversion(const std::string& text, const Forms& forms) {
    const std::string toWide = "Conversion/To a wide text/" + text + "/";
    const std::string toNarrow = "Conversion/To a narrow text/" + text + "/";
    Measure(toWide + "Utilities", forms, [](const Forms& input) { return WString(input.narrow); });
    Measure(toNarrow + "Utilities", forms, [](const Forms& input) { return String(input.wide); });
    Measure(toWide + "Host", forms, [](const Forms& input) {
        wchar_t buffer[CAPACITY];
        return std::wstring(buffer, std::mbstowcs(buffer, input.narrow.c_str(), CAPACITY));
    });
    Measure(toNarrow + "Host", forms, [](const Forms& input) {
        char buffer[CAPACITY];
        return std::string(buffer, std::wcstombs(buffer, input.host.c_str(), CAPACITY));
    });
#ifdef UTILITIES_HAS_QT
    Measure(toWide + "Qt", forms, [](const Forms& input) {
        return QString::fromUtf8(input.narrow.data(), static_cast<int>(input.narrow.size()));
    });
    Measure(toNarrow + "Qt", forms, [](const Forms& input) { return input.qt.toUtf8(); });
#endif
#ifdef UTILITIES_HAS_ICU
    Measure(toWide + "ICU object", forms,
            [](const Forms& input) { return icu::UnicodeString::fromUTF8(input.narrow); });
    Measure(toNarrow + "ICU object", forms, [](const Forms& input) {
        std::string result;
        return input.icu.toUTF8String(result);
    });
    Measure(toWide + "ICU buffer", forms, [](const Forms& input) {
        char16_t buffer[CAPACITY];
        return std::u16string(buffer, DecodeByIcu(buffer, input.narrow));
    });
    Measure(toNarrow + "ICU buffer", forms, [](const Forms& input) {
        char buffer[CAPACITY];
        return std::string(buffer, EncodeByIcu(buffer, input.wide));
    });
#endif
}

/// Into an existing text that has the capacity.
void MeasureConversionInto(const std::string& text, const Forms& forms) {
    const std::string toWide = "Conversion/Into a wide text/" + text + "/";
    const std::string toNarrow = "Conversion/Into a narrow text/" + text + "/";
    MeasureInto<std::basic_string<WideChar>>(
        toWide + "Utilities", forms,
        [](auto& target, const Forms& input) { input.narrow.ToWideString(target); });
    MeasureInto<std::string>(toNarrow + "Utilities", forms, [](auto& target, const Forms& input) {
        input.wide.ToNarrowString(target);
    });
    MeasureInto<std::wstring>(toWide + "Host", forms, [](auto& target, const Forms& input) {
        wchar_t buffer[CAPACITY];
        target.assign(buffer, std::mbstowcs(buffer, input.narrow.c_str(), CAPACITY));
    });
    MeasureInto<std::string>(toNarrow + "Host", forms, [](auto& target, const Forms& input) {
        char buffer[CAPACITY];
        target.assign(buffer, std::wcstombs(buffer, input.host.c_str(), CAPACITY));
    });
#ifdef UTILITIES_HAS_QT
    MeasureInto<QString>(toWide + "Qt", forms, [](auto& target, const Forms& input) {
        target = QString::fromUtf8(input.narrow.data(), static_cast<int>(input.narrow.size()));
    });
    MeasureInto<QByteArray>(toNarrow + "Qt", forms,
                            [](auto& target, const Forms& input) { target = input.qt.toUtf8(); });
#endif
#ifdef UTILITIES_HAS_ICU
    MeasureInto<icu::UnicodeString>(toWide + "ICU object", forms,
                                    [](auto& target, const Forms& input) {
                                        target = icu::UnicodeString::fromUTF8(input.narrow);
                                    });
    MeasureInto<std::string>(toNarrow + "ICU object", forms, [](auto& target, const Forms& input) {
        target.clear();
        input.icu.toUTF8String(target);
    });
    MeasureInto<std::u16string>(toWide + "ICU buffer", forms, [](auto& target, const Forms& input) {
        char16_t buffer[CAPACITY];
        target.assign(buffer, DecodeByIcu(buffer, input.narrow));
    });
    MeasureInto<std::string>(toNarrow + "ICU buffer", forms, [](auto& target, const Forms& input) {
        char buffer[CAPACITY];
        target.assign(buffer, EncodeByIcu(buffer, input.wide));
    });
#endif
}

struct Arguments {
    int integer = 4711;
    std::string text = "records";
    double number = 3.14159;
};

constexpr char FORMAT[] = "%d %s %5.2f";

void MeasureFormat() {
    const std::string row = std::string("Format/") + FORMAT + "/";
    MeasureInto<String>(row + "Utilities", Arguments{}, [](String& target, const Arguments& input) {
        return target.Format(FORMAT, input.integer, input.text.c_str(), input.number);
    });
    MeasureInto<std::string>(
        row + "snprintf", Arguments{}, [](std::string& target, const Arguments& input) {
            char buffer[1024];
            const int length = std::snprintf(buffer, sizeof buffer, FORMAT, input.integer,
                                             input.text.c_str(), input.number);
            target.assign(buffer, static_cast<std::size_t>(length));
        });
#ifdef UTILITIES_HAS_ABSEIL
    MeasureInto<std::string>(
        row + "Abseil", Arguments{}, [](std::string& target, const Arguments& input) {
            target.clear();
            absl::StrAppendFormat(&target, FORMAT, input.integer, input.text, input.number);
        });
#endif
#ifdef UTILITIES_HAS_QT
    MeasureInto<QString>(row + "Qt", Arguments{}, [](QString& target, const Arguments& input) {
        target = QString::asprintf(FORMAT, input.integer, input.text.c_str(), input.number);
    });
#endif
#ifdef UTILITIES_HAS_POCO
    MeasureInto<std::string>(
        row + "Poco", Arguments{}, [](std::string& target, const Arguments& input) {
            target.clear();
            Poco::format(target, FORMAT, input.integer, input.text, input.number);
        });
#endif
}

struct OtherWidth {
    WString wide;
    std::wstring host;
    int precision;
};

/// With as many units of wide text; a precision ends it before, at a whole character.
void MeasureFormatOfWide(std::size_t units, int precision) {
    const std::string row = "Format/%S of " + std::to_string(units) +
                            (precision < 0 ? "" : ", " + std::to_string(precision) + " written") +
                            "/";
    const OtherWidth texts = {std::u16string(units, u'a'), std::wstring(units, L'a'), precision};
    MeasureInto<String>(row + "Utilities", texts, [](String& target, const OtherWidth& input) {
        return target.Format("%.*S", input.precision, input.wide.c_str());
    });
    MeasureInto<std::string>(
        row + "snprintf", texts, [](std::string& target, const OtherWidth& input) {
            char buffer[1024];
            const int length =
                std::snprintf(buffer, sizeof buffer, "%.*ls", input.precision, input.host.c_str());
            target.assign(buffer, static_cast<std::size_t>(length));
        });
}

const bool REGISTERED = [] {
    if (std::setlocale(LC_ALL, "C.utf8") == nullptr) {
        std::fputs("No locale C.utf8\n", stderr);
        std::exit(1);
    }
    for (const auto& [name, text] :
         {std::pair{"64 ASCII", ASCII_TEXT}, std::pair{"64 mixed", MIXED_TEXT}}) {
        const Forms forms(text);
        MeasureConversion(name, forms);
        MeasureConversionInto(name, forms);
    }
    MeasureFormat();
    for (const auto& [units, precision] :
         {std::pair{7, -1}, std::pair{7, 3}, std::pair{1000, -1}, std::pair{1000, 500}})
        MeasureFormatOfWide(static_cast<std::size_t>(units), precision);
    return true;
}();

}  // namespace
