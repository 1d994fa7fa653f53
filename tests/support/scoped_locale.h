/// A locale for the length of a scope.
#ifndef TESTS_SUPPORT_SCOPED_LOCALE_H
#define TESTS_SUPPORT_SCOPED_LOCALE_H

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <string>

/// Sets the process's locale, and the "C" locale again at the end.
class ScopedLocale {
public:
    explicit ScopedLocale(const char* name) : isSet(std::setlocale(LC_ALL, name) != nullptr) {}
    ~ScopedLocale() { std::setlocale(LC_ALL, "C"); }
    ScopedLocale(const ScopedLocale&) = delete;
    ScopedLocale& operator=(const ScopedLocale&) = delete;
    explicit operator bool() const { return isSet; }

private:
    bool isSet;
};

/// Builds a locale of the host's for the tests and gives its name: built once, and whole when it
/// gets its name, as several programs may want it at the same moment.
inline std::string BuiltLocale(const std::string& language, const std::string& charset) {
    const std::string folder = testing::TempDir() + "utilities-locales";
    const std::string name = language + '.' + charset;
    ::setenv("LOCPATH", folder.c_str(), 1);
    const bool built =
        std::system(("cd / && mkdir -p " + folder + " && cd " + folder + " && { test -d " + name +
                     " || { localedef -i " + language + " -f " + charset +
                     " ./new$$ 2>/dev/null && mv -T new$$ " + name +
                     " 2>/dev/null; } || { rm -rf new$$; test -d " + name + "; }; }")
                        .c_str()) == 0;
    EXPECT_TRUE(built) << "localedef and its sources (package locales) are needed";
    return name;
}

/// A decimal comma and a single-byte encoding.
inline const char* GermanLatin1() {
    static const std::string name = BuiltLocale("de_DE", "ISO-8859-1");
    return name.c_str();
}

/// An encoding of one and two bytes, which has characters that are pairs of units.
inline const char* HongKongBig5() {
    static const std::string name = BuiltLocale("zh_HK", "BIG5-HKSCS");
    return name.c_str();
}

/// UTF-8 with a decimal point of two bytes.
inline const char* PashtoUtf8() {
    static const std::string name = BuiltLocale("ps_AF", "UTF-8");
    return name.c_str();
}

#endif
