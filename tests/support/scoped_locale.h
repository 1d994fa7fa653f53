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
    explicit ScopedLocale(const char* name) : set_(std::setlocale(LC_ALL, name) != nullptr) {}
    ~ScopedLocale() { std::setlocale(LC_ALL, "C"); }
    ScopedLocale(const ScopedLocale&) = delete;
    ScopedLocale& operator=(const ScopedLocale&) = delete;
    explicit operator bool() const { return set_; }

private:
    bool set_;
};

/// The name of a locale with a decimal comma and a single-byte encoding, built for the tests: once,
/// and whole when it gets its name, as several programs may want it at the same moment.
inline const char* GermanLatin1() {
    static const bool built = [] {
        const std::string folder = testing::TempDir() + "utilities-locales";
        ::setenv("LOCPATH", folder.c_str(), 1);
        return std::system(("cd / && mkdir -p " + folder + " && cd " + folder +
                            " && { test -d de_DE.ISO-8859-1 ||"
                            " { localedef -i de_DE -f ISO-8859-1 ./new$$ 2>/dev/null &&"
                            " mv -T new$$ de_DE.ISO-8859-1 2>/dev/null; } ||"
                            " { rm -rf new$$; test -d de_DE.ISO-8859-1; }; }")
                               .c_str()) == 0;
    }();
    EXPECT_TRUE(built) << "localedef and its sources (package locales) are needed";
    return "de_DE.ISO-8859-1";
}

#endif
