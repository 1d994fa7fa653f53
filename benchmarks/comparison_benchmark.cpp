// Comparing tagged values with each other, beside the variant classes of other libraries.
#include <string>
#include <type_traits>
#include <utility>

#include "benchmarks/measure.h"
#include "benchmarks/variants.h"

namespace {

/// The order of two values: integers exactly, numbers as `double`, texts by their characters.
struct Comparer {
    template <class A, class B>
    int operator()(const A& a, const B& b) const {
        if constexpr (std::is_same_v<A, B>)
            return a < b ? -1 : b < a;
        else if constexpr (IS_INTEGER<A> && IS_INTEGER<B>)
            return std::cmp_less(a, b) ? -1 : std::cmp_less(b, a);
        else if constexpr (std::is_arithmetic_v<A> && std::is_arithmetic_v<B>)
            return (*this)(static_cast<double>(a), static_cast<double>(b));
        else
            return -1;
    }

    template <class T>
    static constexpr bool IS_INTEGER = std::is_integral_v<T> && !std::is_same_v<T, bool>;
};

struct Pair {
    Forms a;
    Forms b;
};

void MeasureEqual(const std::string& row, const Pair& pair) {
    const std::string name = "Compare/" + row + "/";
    const auto equal = [name](const std::string& peer, const auto Forms::*form, const Pair& forms) {
        Measure(name + peer, forms, [form](const Pair& input) {
            return static_cast<bool>(input.a.*form == input.b.*form);
        });
    };
    equal("Utilities", &Forms::own, pair);
#ifdef UTILITIES_HAS_POCO
    equal("Poco", &Forms::poco, pair);
#endif
#ifdef UTILITIES_HAS_QT
    equal("Qt", &Forms::qt, pair);
#endif
    Measure(name + "std::variant", pair, [](const Pair& input) {
        return std::visit(Comparer(), input.a.standard, input.b.standard) == 0;
    });
}

/// Whether one is before the other, in the order of `TYPE`. Qt's variants have no order any more.
template <MultiType::TYPE TYPE>
void MeasureBefore(const std::string& row, const Pair& pair) {
    const std::string name = "Compare/" + row + "/";
    Measure(name + "Utilities", pair, [](const Pair& input) {
        return MultiType::compare(input.a.own, input.b.own, TYPE) < 0;
    });
    Measure(name + "std::variant", pair, [](const Pair& input) {
        return std::visit(Comparer(), input.a.standard, input.b.standard) < 0;
    });
#ifdef UTILITIES_HAS_POCO
    Measure(name + "Poco", pair, [](const Pair& input) { return input.a.poco < input.b.poco; });
#endif
}

const bool REGISTERED = [] {
    const std::string text = "a text that no class keeps within itself, of sixty-four letters.";
    MeasureEqual("int equal to int", {4711, 4711});
    MeasureEqual("double equal to double", {3.14159, 3.14159});
    MeasureEqual("int equal to unsigned 64-bit", {4711, 4711ull});
    MeasureBefore<MultiType::TYPE_MIXED_INT64>("int before unsigned 64-bit", {4711, 4712ull});
    MeasureBefore<MultiType::TYPE_STRING>("text of 64 before itself", {text, text});
    return true;
}();

}  // namespace
