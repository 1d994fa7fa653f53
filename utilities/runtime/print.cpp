#include "utilities/runtime/print.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>
#include <type_traits>

#include "utilities/platform/widetext.h"
#include "utilities/runtime/decimalpoint.h"
#include "utilities/runtime/printdirective.h"
#include "utilities/runtime/printnumbers.h"
#include "utilities/runtime/textconversion.h"

// The formatter reads a directive (`printdirective.h`), makes the characters of a number
// (`printnumbers.h`) or converts a text (`textconversion.h`), and pads the result to its width. It
// writes straight into the caller's buffer: only text of the other width, whose length is known
// after its conversion, is moved to make space for the padding in front of it. A failure stops all
// further output, and the call reports it once, at its end.

namespace runtime {
namespace {

template <class Char>
constexpr bool IS_WIDE = std::is_same_v<Char, WideChar>;

/// The buffer, filled from its start. Once something didn't fit, nothing is written any more.
template <class Char>
class Output {
public:
    Output(Char* buffer, std::size_t limit)
        : m_Begin(buffer), m_Capacity(std::min(limit, TOO_LONG - 1)) {}

    std::size_t Count() const { return m_Used; }
    std::size_t Space() const { return m_Capacity - m_Used; }
    Char* End() { return m_Begin + m_Used; }
    bool Failed() const { return m_Failed; }
    void Fail() { m_Failed = true; }

    /// Counts what was written at `End()`.
    void Advance(std::size_t count) { m_Used += count; }

    void Fill(char character, std::size_t count) {
        if (!Fits(count))
            return;
        std::fill_n(End(), count, static_cast<Char>(character));
        Advance(count);
    }

    /// Text of the buffer's own width, or ASCII.
    template <class Source>
    void Write(std::basic_string_view<Source> text) {
        if (!Fits(text.size()))
            return;
        std::copy(text.begin(), text.end(), End());
        Advance(text.size());
    }

    /// Inserts `count` blanks after the first `start` characters.
    void Indent(std::size_t start, std::size_t count) {
        if (!Fits(count))
            return;
        Char* const text = m_Begin + start;
        std::copy_backward(text, End(), End() + count);
        std::fill_n(text, count, Char{' '});
        Advance(count);
    }

private:
    bool Fits(std::size_t count) {
        m_Failed = m_Failed || count > Space();
        return !m_Failed;
    }

    Char* m_Begin;
    std::size_t m_Capacity;
    std::size_t m_Used = 0;
    bool m_Failed = false;
};

/// Writes the text of one call.
template <class Char>
class Printer {
    using View = std::basic_string_view<Char>;
    using OtherChar = std::conditional_t<IS_WIDE<Char>, char, WideChar>;

public:
    Printer(Output<Char>& output, Arguments& arguments)
        : m_Output(output), m_Arguments(arguments) {}

    void Print(const Char* format) {
        while (!m_Output.Failed()) {
            const Char* at = format;
            while (*at != '%' && *at != Char{})
                ++at;
            m_Output.Write(View(format, static_cast<std::size_t>(at - format)));
            if (*at == Char{})
                return;
            format = PrintDirective(at);
        }
    }

private:
    /// Returns what follows the directive that begins at `start`. What is none is printed as it is.
    const Char* PrintDirective(const Char* start) {
        const Char* end = start + 1;
        if (!Put(ReadDirective(end, m_Arguments)))
            m_Output.Write(View(start, static_cast<std::size_t>(end - start)));
        return end;
    }

    /// False if there is no directive of that type.
    bool Put(const Directive& directive) {
        switch (directive.type) {
            case 'd':
            case 'i':
                PutSigned(directive);
                return true;
            case 'u':
            case 'o':
            case 'x':
            case 'X':
                PutInteger(directive, UnsignedArgument(m_Arguments, directive.size), false);
                return true;
            case 'e':
            case 'E':
            case 'f':
            case 'F':
            case 'g':
            case 'G':
            case 'a':
            case 'A':
                PutFloat(directive);
                return true;
            case 'c':
            case 'C':
                PutCharacter(directive);
                return true;
            case 's':
            case 'S':
                PutText(directive);
                return true;
            case 'p':
                PutPointer(directive);
                return true;
            case 'n':
                StoreCount(m_Arguments, directive.size, m_Output.Count());
                return true;
            case '%':
                m_Output.Fill('%', 1);
                return true;
            default:
                return false;
        }
    }

    void PutSigned(const Directive& directive) {
        const std::intmax_t value = SignedArgument(m_Arguments, directive.size);
        const auto bits = static_cast<std::uintmax_t>(value);
        PutInteger(directive, value < 0 ? 0 - bits : bits, value < 0);
    }

    void PutInteger(const Directive& directive, std::uintmax_t magnitude, bool negative) {
        char buffer[INTEGER_CAPACITY];
        if (IsPlainDecimal(directive)) {
            PutField(directive, FormatPlain(buffer, magnitude, negative));
            return;
        }
        PutNumber(directive, FormatInteger(buffer, directive, magnitude, negative));
    }

    void PutPointer(const Directive& directive) {
        const void* pointer = va_arg(m_Arguments.list, const void*);
        if (pointer == nullptr)
            PutField(directive, std::string_view("(nil)"));
        else
            PutInteger(directive, reinterpret_cast<std::uintptr_t>(pointer), false);
    }

    void PutFloat(const Directive& directive) {
        if (directive.size == ArgumentSize::LONG_DOUBLE) {
            PutFloatOf(directive, va_arg(m_Arguments.list, long double));
            return;
        }
        const double value = va_arg(m_Arguments.list, double);
        char buffer[PLAIN_CAPACITY];
        const std::string_view text = FormatPlain(buffer, directive, value);
        if (!text.empty())
            PutField(directive, text);
        else
            PutFloatOf(directive, value);
    }

    // Apart from the rest for the sake of the stack: a long double needs 21 kB for its digits.
    template <class Float>
    [[gnu::noinline]] void PutFloatOf(const Directive& directive, Float value) {
        char buffer[FLOAT_CAPACITY<Float>];
        const std::optional<NumberText> number = FormatFloat(buffer, directive, value);
        if (number)
            PutNumber(directive, *number);
        else
            m_Output.Fail();
    }

    void PutNumber(const Directive& directive, const NumberText& number) {
        Char pointBuffer[POINT_CAPACITY];
        View point;
        if (number.hasPoint)
            point = DecimalPointText(pointBuffer);
        // In the width a decimal point of several bytes counts as one character, except in
        // hexadecimal numbers; both as the host has it.
        const bool isHexadecimal = directive.type == 'a' || directive.type == 'A';
        const std::size_t pointWidth = number.hasPoint && !isHexadecimal ? 1 : point.size();
        const std::size_t length = number.prefixLength + number.leadingZeros + number.whole.size() +
                                   pointWidth + number.fraction.size() + number.trailingZeros +
                                   number.exponent.size();
        const std::size_t padding = directive.width > length ? directive.width - length : 0;
        const bool padsWithZeros = directive.zero && !directive.left && number.padsWithZeros;

        if (!directive.left && !padsWithZeros)
            m_Output.Fill(' ', padding);
        m_Output.Write(std::string_view(number.prefix, number.prefixLength));
        m_Output.Fill('0', number.leadingZeros + (padsWithZeros ? padding : 0));
        m_Output.Write(number.whole);
        if (number.hasPoint) {
            m_Output.Write(point);
            m_Output.Write(number.fraction);
            m_Output.Fill('0', number.trailingZeros);
        }
        m_Output.Write(number.exponent);
        if (directive.left)
            m_Output.Fill(' ', padding);
    }

    /// True if the argument of a text conversion has the output's own width.
    static bool IsOwnWidth(const Directive& directive) {
        switch (directive.size) {
            case ArgumentSize::SHORT:
                return !IS_WIDE<Char>;
            case ArgumentSize::LONG:
                return IS_WIDE<Char>;
            default:
                return directive.type == 'c' || directive.type == 's';
        }
    }

    void PutCharacter(Directive directive) {
        const int argument = va_arg(m_Arguments.list, int);
        const OtherChar other[2] = {static_cast<OtherChar>(argument)};
        // A NUL is written like other characters; as a text it would be empty.
        if (IsOwnWidth(directive) || other[0] == OtherChar{}) {
            const auto character = static_cast<Char>(argument);
            PutField(directive, View(&character, 1));
            return;
        }
        directive.hasPrecision = false;
        PutConverted(directive, other);
    }

    void PutText(const Directive& directive) {
        // With one character more than fits the call fails.
        std::size_t most = m_Output.Space() + 1;
        if (directive.hasPrecision)
            most = std::min(most, directive.precision);
        const void* argument = va_arg(m_Arguments.list, const void*);
        if (argument == nullptr) {
            PutField(directive, std::string_view("(null)").substr(0, most));
        } else if (IsOwnWidth(directive)) {
            const auto* text = static_cast<const Char*>(argument);
            PutField(directive, View(text, LengthUpTo(text, most)));
        } else {
            PutConverted(directive, static_cast<const OtherChar*>(argument));
        }
    }

    template <class Source>
    void PutField(const Directive& directive, std::basic_string_view<Source> text) {
        const std::size_t padding =
            directive.width > text.size() ? directive.width - text.size() : 0;
        if (!directive.left)
            m_Output.Fill(' ', padding);
        m_Output.Write(text);
        if (directive.left)
            m_Output.Fill(' ', padding);
    }

    /// Text of the other width.
    void PutConverted(const Directive& directive, const OtherChar* text) {
        const std::size_t start = m_Output.Count();
        const std::size_t length =
            ConvertUpTo(m_Output.End(), m_Output.Space(), text,
                        directive.hasPrecision ? directive.precision : SIZE_MAX);
        if (length == platform::CONVERSION_FAILED) {
            m_Output.Fail();
            return;
        }
        m_Output.Advance(length);
        const std::size_t padding = directive.width > length ? directive.width - length : 0;
        if (directive.left)
            m_Output.Fill(' ', padding);
        else
            m_Output.Indent(start, padding);
    }

    Output<Char>& m_Output;
    Arguments& m_Arguments;
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

}  // namespace runtime
