/// The directives of a format, such as "%-8.3f", and the arguments that they take.
#ifndef UTILITIES_RUNTIME_PRINTDIRECTIVE_H
#define UTILITIES_RUNTIME_PRINTDIRECTIVE_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "utilities/frame/types.h"

namespace runtime {

/// A width or a precision above every possible text's length counts as this.
inline constexpr std::size_t TOO_LONG = std::size_t{std::numeric_limits<int>::max()} + 1;

/// The length modifiers: none, hh, h, l, ll and I64, j, z, t, L.
enum class ArgumentSize {
    DEFAULT,
    CHAR,
    SHORT,
    LONG,
    LONG_LONG,
    MAX,
    SIZE,
    DIFFERENCE,
    LONG_DOUBLE
};

/// One directive, as the format and the arguments of its `*` say.
struct Directive {
    bool left = false;       ///< Flag '-', or a negative width argument.
    bool plus = false;       ///< Flag '+'.
    bool blank = false;      ///< Flag ' '.
    bool alternate = false;  ///< Flag '#'.
    bool zero = false;       ///< Flag '0'.
    bool hasPrecision = false;
    ArgumentSize size = ArgumentSize::DEFAULT;
    char type = '\0';  ///< The letter; NUL where the format has none or one outside ASCII.
    std::size_t width = 0;
    std::size_t precision = 0;
};

/// The arguments that are still to be read. In a struct, so that a reference to it can be passed.
struct Arguments {
    std::va_list list;
};

/// Reads the directive at `at`, which points after its "%", and moves `at` after it.
Directive ReadDirective(const char*& at, Arguments& arguments);
Directive ReadDirective(const WideChar*& at, Arguments& arguments);

/// Take an integer argument of the size.
std::intmax_t SignedArgument(Arguments& arguments, ArgumentSize size);
std::uintmax_t UnsignedArgument(Arguments& arguments, ArgumentSize size);

/// Stores `count` where the argument of a "%n" points.
void StoreCount(Arguments& arguments, ArgumentSize size, std::size_t count);

}  // namespace runtime

#endif
