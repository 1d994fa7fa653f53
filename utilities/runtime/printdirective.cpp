#include "utilities/runtime/printdirective.h"

#include <algorithm>
#include <type_traits>

namespace runtime {
namespace {

/// Reads one directive from after its "%".
template <class Char>
class DirectiveReader {
public:
    DirectiveReader(const Char* format, Arguments& arguments)
        : m_At(format), m_Arguments(arguments) {}

    /// After the directive, or at the format's end.
    const Char* At() const { return m_At; }

    /// The type is NUL where the format ends too early or goes on outside ASCII.
    Directive Read() {
        Directive directive;
        while (ReadFlag(directive))
            ++m_At;
        ReadWidth(directive);
        if (Accept('.'))
            ReadPrecision(directive);
        directive.size = ReadSize();
        if (*m_At != Char{}) {
            const auto type = static_cast<std::make_unsigned_t<Char>>(*m_At++);
            directive.type = type < 0x80 ? static_cast<char>(type) : '\0';
        }
        return directive;
    }

private:
    bool Accept(char expected) {
        if (*m_At != static_cast<Char>(expected))
            return false;
        ++m_At;
        return true;
    }

    bool ReadFlag(Directive& directive) const {
        switch (*m_At) {
            case '-':
                return directive.left = true;
            case '+':
                return directive.plus = true;
            case ' ':
                return directive.blank = true;
            case '#':
                return directive.alternate = true;
            case '0':
                return directive.zero = true;
            default:
                return false;
        }
    }

    std::size_t ReadCount() {
        std::size_t count = 0;
        for (; *m_At >= '0' && *m_At <= '9'; ++m_At)
            count = std::min(count * 10 + static_cast<std::size_t>(*m_At - '0'), TOO_LONG);
        return count;
    }

    void ReadWidth(Directive& directive) {
        if (!Accept('*')) {
            directive.width = ReadCount();
            return;
        }
        const long long width = va_arg(m_Arguments.list, int);
        directive.left = directive.left || width < 0;
        directive.width = static_cast<std::size_t>(width < 0 ? -width : width);
    }

    void ReadPrecision(Directive& directive) {
        directive.hasPrecision = true;
        if (!Accept('*')) {
            directive.precision = ReadCount();
            return;
        }
        const int precision = va_arg(m_Arguments.list, int);
        directive.hasPrecision = precision >= 0;
        directive.precision = static_cast<std::size_t>(std::max(precision, 0));
    }

    ArgumentSize ReadSize() {
        switch (*m_At) {
            case 'h':
                ++m_At;
                return Accept('h') ? ArgumentSize::CHAR : ArgumentSize::SHORT;
            case 'l':
                ++m_At;
                return Accept('l') ? ArgumentSize::LONG_LONG : ArgumentSize::LONG;
            case 'j':
                ++m_At;
                return ArgumentSize::MAX;
            case 'z':
                ++m_At;
                return ArgumentSize::SIZE;
            case 't':
                ++m_At;
                return ArgumentSize::DIFFERENCE;
            case 'L':
                ++m_At;
                return ArgumentSize::LONG_DOUBLE;
            case 'I':
                if (m_At[1] != '6' || m_At[2] != '4')
                    return ArgumentSize::DEFAULT;
                m_At += 3;
                return ArgumentSize::LONG_LONG;
            default:
                return ArgumentSize::DEFAULT;
        }
    }

    const Char* m_At;
    Arguments& m_Arguments;
};

template <class Char>
Directive Read(const Char*& at, Arguments& arguments) {
    DirectiveReader<Char> reader(at, arguments);
    const Directive directive = reader.Read();
    at = reader.At();
    return directive;
}

}  // namespace

Directive ReadDirective(const char*& at, Arguments& arguments) { return Read(at, arguments); }
Directive ReadDirective(const WideChar*& at, Arguments& arguments) { return Read(at, arguments); }

std::intmax_t SignedArgument(Arguments& arguments, ArgumentSize size) {
    switch (size) {
        case ArgumentSize::CHAR:
            return static_cast<signed char>(va_arg(arguments.list, int));
        case ArgumentSize::SHORT:
            return static_cast<short>(va_arg(arguments.list, int));
        case ArgumentSize::LONG:
            return va_arg(arguments.list, long);
        case ArgumentSize::LONG_LONG:
        case ArgumentSize::LONG_DOUBLE:
            return va_arg(arguments.list, long long);
        case ArgumentSize::MAX:
            return va_arg(arguments.list, std::intmax_t);
        case ArgumentSize::SIZE:
            return va_arg(arguments.list, std::make_signed_t<std::size_t>);
        case ArgumentSize::DIFFERENCE:
            return va_arg(arguments.list, std::ptrdiff_t);
        default:
            return va_arg(arguments.list, int);
    }
}

std::uintmax_t UnsignedArgument(Arguments& arguments, ArgumentSize size) {
    switch (size) {
        case ArgumentSize::CHAR:
            return static_cast<unsigned char>(va_arg(arguments.list, unsigned));
        case ArgumentSize::SHORT:
            return static_cast<unsigned short>(va_arg(arguments.list, unsigned));
        case ArgumentSize::DEFAULT:
            return va_arg(arguments.list, unsigned);
        default:
            // The sign of an argument as wide as the result changes nothing in its bits.
            return static_cast<std::uintmax_t>(SignedArgument(arguments, size));
    }
}

void StoreCount(Arguments& arguments, ArgumentSize size, std::size_t count) {
    const auto store = [count](auto* target) {
        *target = static_cast<std::remove_pointer_t<decltype(target)>>(count);
    };
    switch (size) {
        case ArgumentSize::CHAR:
            return store(va_arg(arguments.list, signed char*));
        case ArgumentSize::SHORT:
            return store(va_arg(arguments.list, short*));
        case ArgumentSize::LONG:
            return store(va_arg(arguments.list, long*));
        case ArgumentSize::LONG_LONG:
        case ArgumentSize::LONG_DOUBLE:
            return store(va_arg(arguments.list, long long*));
        case ArgumentSize::MAX:
            return store(va_arg(arguments.list, std::intmax_t*));
        case ArgumentSize::SIZE:
            return store(va_arg(arguments.list, std::make_signed_t<std::size_t>*));
        case ArgumentSize::DIFFERENCE:
            return store(va_arg(arguments.list, std::ptrdiff_t*));
        default:
            return store(va_arg(arguments.list, int*));
    }
}

}  // namespace runtime
