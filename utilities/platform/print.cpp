#include "utilities/platform/print.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "utilities/platform/decimalpoint_internal.h"
#include "utilities/platform/print_crossing_internal.h"
#include "utilities/platform/print_format_internal.h"
#include "utilities/platform/print_internal.h"
#include "utilities/platform/print_output_internal.h"

namespace platform {
namespace {

template <class Char>
constexpr bool IS_WIDE = std::is_same_v<Char, WideChar>;

/// Writes the text of one call.
template <class Char>
class Printer {
    using View = std::basic_string_view<Char>;
    using OtherChar = std::conditional_t<IS_WIDE<Char>, char, WideChar>;

public:
    Printer(Output<Char>& target, Arguments& source) : output(target), arguments(source) {}

    void Print(const Char* format) {
        while (!output.Failed()) {
            const Char* at = format;
            while (*at != '%' && *at != Char{})
                ++at;
            output.Write(View(format, static_cast<std::size_t>(at - format)));
            if (*at == Char{})
                return;
            format = PrintConversion(at);
        }
    }

private:
    /// Gives what follows the conversion that begins at `start`.
    const Char* PrintConversion(const Char* start) {
        ConversionReader<Char> reader(start + 1, arguments);
        if (!Convert(reader.Read()))
            output.Write(View(start, static_cast<std::size_t>(reader.At() - start)));
        return reader.At();
    }

    /// False if there is no such conversion.
    bool Convert(const Conversion& conversion) {
        switch (conversion.type) {
            case 'd':
            case 'i':
                PutSigned(conversion);
                return true;
            case 'u':
            case 'o':
            case 'x':
            case 'X':
                PutInteger(conversion, UnsignedArgument(arguments, conversion.size), false);
                return true;
            case 'e':
            case 'E':
            case 'f':
            case 'F':
            case 'g':
            case 'G':
            case 'a':
            case 'A':
                PutFloat(conversion);
                return true;
            case 'c':
            case 'C':
                PutCharacter(conversion);
                return true;
            case 's':
            case 'S':
                PutText(conversion);
                return true;
            case 'p':
                PutPointer(conversion);
                return true;
            case 'n':
                StoreCount(arguments, conversion.size, output.Count());
                return true;
            case '%':
                output.Fill('%', 1);
                return true;
            default:
                return false;
        }
    }

    void PutSigned(const Conversion& conversion) {
        const std::intmax_t value = SignedArgument(arguments, conversion.size);
        const auto bits = static_cast<std::uintmax_t>(value);
        PutInteger(conversion, value < 0 ? 0 - bits : bits, value < 0);
    }

    void PutInteger(const Conversion& conversion, std::uintmax_t magnitude, bool negative) {
        char room[INTEGER_CAPACITY];
        PutNumber(conversion, FormatInteger(room, conversion, magnitude, negative));
    }

    void PutPointer(const Conversion& conversion) {
        const void* pointer = va_arg(arguments.list, const void*);
        if (pointer == nullptr)
            PutField(conversion, std::string_view("(nil)"));
        else
            PutInteger(conversion, reinterpret_cast<std::uintptr_t>(pointer), false);
    }

    void PutFloat(const Conversion& conversion) {
        if (conversion.size == ArgumentSize::LongDouble)
            PutFloatOf(conversion, va_arg(arguments.list, long double));
        else
            PutFloatOf(conversion, va_arg(arguments.list, double));
    }

    // Kept apart for the sake of the stack: a long double needs 20 kB.
    template <class Float>
    [[gnu::noinline]] void PutFloatOf(const Conversion& conversion, Float value) {
        char room[FLOAT_CAPACITY<Float>];
        PutNumber(conversion, FormatFloat(room, conversion, value));
    }

    void PutNumber(const Conversion& conversion, const NumberText& number) {
        Char pointRoom[POINT_CAPACITY];
        View point;
        if (number.hasPoint)
            point = DecimalPointText(pointRoom);
        // To the width a decimal point of several bytes is one character, as the host has it.
        const std::size_t length = number.prefixLength + number.leadingZeros + number.whole.size() +
                                   (number.hasPoint ? 1 : 0) + number.fraction.size() +
                                   number.trailingZeros + number.exponent.size();
        const std::size_t padding = conversion.width > length ? conversion.width - length : 0;
        const bool padsWithZeros = conversion.zero && !conversion.left && number.padsWithZeros;

        if (!conversion.left && !padsWithZeros)
            output.Fill(' ', padding);
        output.Write(std::string_view(number.prefix, number.prefixLength));
        output.Fill('0', number.leadingZeros + (padsWithZeros ? padding : 0));
        output.Write(number.whole);
        if (number.hasPoint) {
            output.Write(point);
            output.Write(number.fraction);
            output.Fill('0', number.trailingZeros);
        }
        output.Write(number.exponent);
        if (conversion.left)
            output.Fill(' ', padding);
    }

    /// True if the argument of a text conversion has the output's own width.
    static bool IsOwnWidth(const Conversion& conversion) {
        switch (conversion.size) {
            case ArgumentSize::Short:
                return !IS_WIDE<Char>;
            case ArgumentSize::Long:
                return IS_WIDE<Char>;
            default:
                return conversion.type == 'c' || conversion.type == 's';
        }
    }

    void PutCharacter(Conversion conversion) {
        const int argument = va_arg(arguments.list, int);
        const OtherChar other[2] = {static_cast<OtherChar>(argument)};
        // A NUL is written like other characters, and it alone can't cross as a text.
        if (IsOwnWidth(conversion) || other[0] == OtherChar{}) {
            const auto character = static_cast<Char>(argument);
            PutField(conversion, View(&character, 1));
            return;
        }
        conversion.hasPrecision = false;
        PutCrossing(conversion, other);
    }

    void PutText(const Conversion& conversion) {
        // One character more than fits is enough to fail.
        std::size_t most = output.Room() + 1;
        if (conversion.hasPrecision)
            most = std::min(most, conversion.precision);
        const void* argument = va_arg(arguments.list, const void*);
        if (argument == nullptr) {
            PutField(conversion, std::string_view("(null)").substr(0, most));
        } else if (IsOwnWidth(conversion)) {
            const auto* text = static_cast<const Char*>(argument);
            PutField(conversion, View(text, LengthUpTo(text, most)));
        } else {
            PutCrossing(conversion, static_cast<const OtherChar*>(argument));
        }
    }

    template <class Source>
    void PutField(const Conversion& conversion, std::basic_string_view<Source> text) {
        const std::size_t padding =
            conversion.width > text.size() ? conversion.width - text.size() : 0;
        if (!conversion.left)
            output.Fill(' ', padding);
        output.Write(text);
        if (conversion.left)
            output.Fill(' ', padding);
    }

    /// Text of the other width. Its length is known only when it has crossed.
    void PutCrossing(const Conversion& conversion, const OtherChar* text) {
        const std::size_t start = output.Count();
        if (conversion.hasPrecision || !CrossWhole(output, text))
            CrossCharacters(output, text,
                            conversion.hasPrecision ? conversion.precision : SIZE_MAX);
        const std::size_t length = output.Count() - start;
        const std::size_t padding = conversion.width > length ? conversion.width - length : 0;
        if (conversion.left)
            output.Fill(' ', padding);
        else
            output.Indent(start, padding);
    }

    Output<Char>& output;
    Arguments& arguments;
};

template <class Char>
int Print(Char* buffer, std::size_t limit, const Char* format, std::va_list list) {
    Output<Char> output(buffer, limit);
    Arguments arguments;
    va_copy(arguments.list, list);
    Printer<Char>(output, arguments).Print(format);
    va_end(arguments.list);
    if (output.Failed())
        return -1;
    if (output.Count() < limit)
        *output.End() = Char{};
    return static_cast<int>(output.Count());
}

}  // namespace

int _vsnprintf(char* buffer, std::size_t limit, const char* format, std::va_list arguments) {
    return Print(buffer, limit, format, arguments);
}

int _vsnwprintf(WideChar* buffer, std::size_t limit, const WideChar* format,
                std::va_list arguments) {
    return Print(buffer, limit, format, arguments);
}

}  // namespace platform
