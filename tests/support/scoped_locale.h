/// A locale for the length of a scope.
#ifndef TESTS_SUPPORT_SCOPED_LOCALE_H
#define TESTS_SUPPORT_SCOPED_LOCALE_H

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <set>
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
inline const char* BuiltLocale(const std::string& language, const std::string& charset) {
    static std::set<std::string> names;
    const auto [place, isNew] = names.insert(language + '.' + charset);
    const std::string &name = *place, folder = testing::TempDir() + "utilities-locales";
    ::setenv("LOCPATH", folder.c_str(), 1);
    const std::string command = "cd / && mkdir -p " + folder + " && cd " + folder +
                                " && { test -d " + name + " || { localedef -i " + language +
                                " -f " + charset + " ./new$$ 2>/dev/null && mv -T new$$ " + name +
                                " 2>/dev/null; } || { rm -rf new$$; test -d " + name + "; }; }";
    EXPECT_TRUE(!isNew || std::system(command.c_str()) == 0)
        << "localedef and its sources (package locales) are needed";
    return name.c_str();
}

/// A decimal comma and a single-byte encoding.
inline const char* GermanLatin1() { return BuiltLocale("de_DE", "ISO-8859-1"); }

/// An encoding of one and two bytes, which has characters that are pairs of units.
inline const char* HongKongBig5() { return BuiltLocale("zh_HK", "BIG5-HKSCS"); }

/// UTF-8 with a decimal point of two bytes.
inline const char* PashtoUtf8() { return BuiltLocale("ps_AF", "UTF-8"); }

#endif
