// Reading and copying tagged values, beside the variant classes of other libraries and beside a
// variant of the standard library, which the compiler sees through: what is left there is the price
// of a call into a shared library.
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#ifdef UTILITIES_HAS_ABSEIL
#include <absl/strings/str_cat.h>
#endif

#include "benchmarks/measure.h"
#include "benchmarks/variants.h"

namespace {

/// Reads a variant as a number that saturates.
template <class T>
struct Reader {
    T operator()(std::monostate) const { return T(); }
    T operator()(const std::string& text) const {
        T result{};
        std::from_chars(text.data(), text.data() + text.size(), result);
        return result;
    }
    T operator()(const std::u16string& text) const {
        return (*this)(std::string(text.begin(), text.end()));
    }
    T operator()(bool value) const { return static_cast<T>(value); }
    template <class Number>
    T operator()(Number value) const {
        using Limits = std::numeric_limits<T>;
        if constexpr (std::is_floating_point_v<T>) {
            return static_cast<T>(value);
        } else if constexpr (std::is_floating_point_v<Number>) {
            const double rounded = std::round(static_cast<double>(value));
            if (rounded >= static_cast<double>(Limits::max()))
                return Limits::max();
            return rounded >= static_cast<double>(Limits::min()) ? static_cast<T>(rounded)
                                                                 : Limits::min();
        } else {
            if (std::cmp_less(value, Limits::min()))
                return Limits::min();
            return std::cmp_greater(value, Limits::max()) ? Limits::max() : static_cast<T>(value);
        }
    }
};

template <class Number>
void MeasureRead(const std::string& row, const Forms& held) {
    const std::string name = "Read/" + row + "/";
    Measure(name + "Utilities", held.own,
            [](const MultiType& value) { return value.GetAs<Number>(); });
    Measure(name + "std::variant", held.standard,
            [](const Variant& value) { return std::visit(Reader<Number>(), value); });
#ifdef UTILITIES_HAS_POCO
    Measure(name + "Poco", held.poco,
            [](const Poco::Dynamic::Var& value) { return value.convert<Number>(); });
#endif
#ifdef UTILITIES_HAS_QT
    Measure(name + "Qt", held.qt, [](const QVariant& value) { return value.value<Number>(); });
#endif
}

/// Reads the content as a text.
void MeasureToText(const std::string& row, const Forms& held) {
    const std::string name = "Read/" + row + "/";
    Measure(name + "Utilities", held.own,
            [](const MultiType& value) { return value.GetAs<String>(); });
#ifdef UTILITIES_HAS_POCO
    Measure(name + "Poco", held.poco,
            [](const Poco::Dynamic::Var& value) { return value.convert<std::string>(); });
#endif
#ifdef UTILITIES_HAS_QT
    Measure(name + "Qt", held.qt, [](const QVariant& value) { return value.toString(); });
#endif
}

template <class Value>
void MeasureCopyOf(const std::string& row, const std::string& peer, const Value& value) {
    Measure("Copy/" + row + ", made/" + peer, value,
            [](const Value& source) { return Value(source); });
    MeasureInto<Value>("Copy/" + row + ", assigned/" + peer, value,
                       [](Value& target, const Value& source) { target = source; });
}

void MeasureCopy(const std::string& row, const Forms& held) {
    MeasureCopyOf(row, "Utilities", held.own);
    MeasureCopyOf(row, "std::variant", held.standard);
#ifdef UTILITIES_HAS_POCO
    MeasureCopyOf(row, "Poco", held.poco);
#endif
#ifdef UTILITIES_HAS_QT
    MeasureCopyOf(row, "Qt", held.qt);
#endif
}

void MeasureTextToText(const std::string& row, const Forms& held) {
    MeasureToText(row, held);
    Measure("Read/" + row + "/std::variant", held.standard,
            [](const Variant& value) { return std::get<std::string>(value); });
}

/// The standard library makes the same characters where the decimal point is a dot, and so does
/// Abseil: it writes a double with up to six digits.
template <class Number, class... Form>
void MeasureNumberToText(const std::string& row, Number number, Form... form) {
    MeasureToText(row, Forms(number));
    Measure("Read/" + row + "/std::to_chars", number, [form...](const Number& value) {
        char buffer[48];
        return std::string(buffer,
                           std::to_chars(buffer, buffer + sizeof buffer, value, form...).ptr);
    });
#ifdef UTILITIES_HAS_ABSEIL
    Measure("Read/" + row + "/Abseil", number,
            [](const Number& value) { return absl::StrCat(value); });
#endif
}

const bool REGISTERED = [] {
    constexpr __int64 LARGE = 123456789012345;
    const std::string text = "a text that no class keeps within itself, of sixty-four letters.";

    MeasureRead<int>("int as int", 4711);
    MeasureRead<double>("double as double", 3.14159);
    MeasureRead<int>("double as int", 3.14159);
    MeasureRead<long long>("unsigned 64-bit as 64-bit", static_cast<unsigned long long>(LARGE));
    MeasureRead<int>("text of digits as int", std::string("4711"));
    MeasureTextToText("short text as text", std::string("records"));
    MeasureTextToText("text of 64 as text", text);
    MeasureNumberToText("64-bit as text", LARGE);
    MeasureNumberToText("double as text", 3.14159, std::chars_format::general, 6);

    MeasureCopy("int", 4711);
    MeasureCopy("short text", std::string("records"));
    MeasureCopy("text of 64", text);
    return true;
}();

}  // namespace
