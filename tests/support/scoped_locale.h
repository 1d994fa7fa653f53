/// A locale for the length of a scope.
#ifndef TESTS_SUPPORT_SCOPED_LOCALE_H
#define TESTS_SUPPORT_SCOPED_LOCALE_H

#include <clocale>
#include <cstdlib>
#include <filesystem>

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

/// Lets the C library find the locales that the build made beside the test programs. Returns
/// `name`.
inline const char* BuiltLocale(const char* name) {
    const auto program = std::filesystem::read_symlink("/proc/self/exe");
    ::setenv("LOCPATH", (program.parent_path() / "locales").c_str(), 1);
    return name;
}

/// A decimal comma and a single-byte encoding.
inline const char* GermanLatin1() { return BuiltLocale("de_DE.ISO-8859-1"); }

/// An encoding of one and two bytes, which has characters that are pairs of units.
inline const char* HongKongBig5() { return BuiltLocale("zh_HK.BIG5-HKSCS"); }

/// UTF-8 with a decimal point of two bytes.
inline const char* PashtoUtf8() { return BuiltLocale("ps_AF.UTF-8"); }

#endif
