/// What the formatter reads: the format's conversions and the arguments.
#ifndef UTILITIES_PLATFORM_PRINT_FORMAT_INTERNAL_H
#define UTILITIES_PLATFORM_PRINT_FORMAT_INTERNAL_H

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "utilities/platform/print_internal.h"

namespace platform {

/// The arguments that are still to be read.
struct Arguments {
    std::va_list list;
};

inline std::intmax_t SignedArgument(Arguments& arguments, ArgumentSize size) {
    switch (size) {
        case ArgumentSize::Char:
            return static_cast<signed char>(va_arg(arguments.list, int));
        case ArgumentSize::Short:
            return static_cast<short>(va_arg(arguments.list, int));
        case ArgumentSize::Long:
            return va_arg(arguments.list, long);
        case ArgumentSize::LongLong:
        case ArgumentSize::LongDouble:
            return va_arg(arguments.list, long long);
        case ArgumentSize::Max:
            return va_arg(arguments.list, std::intmax_t);
        case ArgumentSize::Size:
            return va_arg(arguments.list, std::make_signed_t<std::size_t>);
        case ArgumentSize::Difference:
            return va_arg(arguments.list, std::ptrdiff_t);
        default:
            return va_arg(arguments.list, int);
    }
}

inline std::uintmax_t UnsignedArgument(Arguments& arguments, ArgumentSize size) {
    switch (size) {
        case ArgumentSize::Char:
            return static_cast<unsigned char>(va_arg(arguments.list, unsigned));
        case ArgumentSize::Short:
            return static_cast<unsigned short>(va_arg(arguments.list, unsigned));
        case ArgumentSize::Default:
            return va_arg(arguments.list, unsigned);
        default:
            // The sign of an argument as wide as the result changes nothing in its bits.
            return static_cast<std::uintmax_t>(SignedArgument(arguments, size));
    }
}

/// Stores `count` where the argument of a "%n" points.
inline void StoreCount(Arguments& arguments, ArgumentSize size, std::size_t count) {
    const auto store = [count](auto* target) {
        *target = static_cast<std::remove_pointer_t<decltype(target)>>(count);
    };
    switch (size) {
        case ArgumentSize::Char:
            return store(va_arg(arguments.list, signed char*));
        case ArgumentSize::Short:
            return store(va_arg(arguments.list, short*));
        case ArgumentSize::Long:
            return store(va_arg(arguments.list, long*));
        case ArgumentSize::LongLong:
        case ArgumentSize::LongDouble:
            return store(va_arg(arguments.list, long long*));
        case ArgumentSize::Max:
            return store(va_arg(arguments.list, std::intmax_t*));
        case ArgumentSize::Size:
            return store(va_arg(arguments.list, std::make_signed_t<std::size_t>*));
        case ArgumentSize::Difference:
            return store(va_arg(arguments.list, std::ptrdiff_t*));
        default:
            return store(va_arg(arguments.list, int*));
    }
}

/// Reads one conversion behind its "%".
template <class Char>
class ConversionReader {
public:
    ConversionReader(const Char* format, Arguments& source) : at(format), arguments(source) {}

    /// Behind the conversion, or at the format's end.
    const Char* At() const { return at; }

    /// The type is NUL where the format ends too early or goes on outside ASCII.
    Conversion Read() {
        Conversion conversion;
        while (ReadFlag(conversion))
            ++at;
        ReadWidth(conversion);
        if (Accept('.'))
            ReadPrecision(conversion);
        conversion.size = ReadSize();
        if (*at != Char{}) {
            const auto type = static_cast<std::make_unsigned_t<Char>>(*at++);
            conversion.type = type < 0x80 ? static_cast<char>(type) : '\0';
        }
        return conversion;
    }

private:
    bool Accept(char expected) {
        if (*at != static_cast<Char>(expected))
            return false;
        ++at;
        return true;
    }

    bool ReadFlag(Conversion& conversion) const {
        switch (*at) {
            case '-':
                return conversion.left = true;
            case '+':
                return conversion.plus = true;
            case ' ':
                return conversion.blank = true;
            case '#':
                return conversion.alternate = true;
            case '0':
                return conversion.zero = true;
            default:
                return false;
        }
    }

    std::size_t ReadCount() {
        std::size_t count = 0;
        for (; *at >= '0' && *at <= '9'; ++at)
            count = std::min(count * 10 + static_cast<std::size_t>(*at - '0'), TOO_LONG);
        return count;
    }

    void ReadWidth(Conversion& conversion) {
        if (!Accept('*')) {
            conversion.width = ReadCount();
            return;
        }
        const long long width = va_arg(arguments.list, int);
        conversion.left = conversion.left || width < 0;
        conversion.width = static_cast<std::size_t>(width < 0 ? -width : width);
    }

    void ReadPrecision(Conversion& conversion) {
        conversion.hasPrecision = true;
        if (!Accept('*')) {
            conversion.precision = ReadCount();
            return;
        }
        const int precision = va_arg(arguments.list, int);
        conversion.hasPrecision = precision >= 0;
        conversion.precision = static_cast<std::size_t>(std::max(precision, 0));
    }

    ArgumentSize ReadSize() {
        switch (*at) {
            case 'h':
                ++at;
                return Accept('h') ? ArgumentSize::Char : ArgumentSize::Short;
            case 'l':
                ++at;
                return Accept('l') ? ArgumentSize::LongLong : ArgumentSize::Long;
            case 'j':
                ++at;
                return ArgumentSize::Max;
            case 'z':
                ++at;
                return ArgumentSize::Size;
            case 't':
                ++at;
                return ArgumentSize::Difference;
            case 'L':
                ++at;
                return ArgumentSize::LongDouble;
            case 'I':
                if (at[1] != '6' || at[2] != '4')
                    return ArgumentSize::Default;
                at += 3;
                return ArgumentSize::LongLong;
            default:
                return ArgumentSize::Default;
        }
    }

    const Char* at;
    Arguments& arguments;
};

}  // namespace platform

#endif
