// What a client does across the library's boundary, in each dialect and by each compiler: values
// and texts made from what a program has in the types of the language and its library and read as
// these, a class derived from a value, an exception. REFUSED, if it is defined, is a line that must
// not compile.
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <typeinfo>
#include <unordered_set>

#include "utilities/utilities.h"

namespace {

int failures = 0;

void Expect(bool isRight, const char* what) {
    if (!isRight)
        std::fprintf(stderr, "failed: %s\n", what), ++failures;
}

class Quantity : public MultiType {
public:
    explicit Quantity(int amount) : MultiType(amount) {}
    short getCookie() const override { return 7; }
    void Fill(unsigned int size) { StoreRaw(size, nullptr, 5); }
};

void CheckDerived() {
    Quantity derived(42);
    const MultiType& base = derived;
    const MultiType copy(base);
    const MultiType& plain = copy;
    Expect(base.getCookie() == 7, "a virtual call");
    Expect(dynamic_cast<const Quantity*>(&base) == &derived, "a cast of the derived value");
    Expect(dynamic_cast<const Quantity*>(&plain) == nullptr, "a cast of a plain value");
    Expect(typeid(plain) == typeid(MultiType), "type information");
    derived.Fill(3);
    Expect(base.GetValueSize() == 3, "a protected operation");
}

bool IsCaught() {
    try {
        String("text").Insert(100, u"x");
        return false;
    } catch (const std::out_of_range&) {
        return true;
    }
}

/// Makes a value of `source`, assigns it over a number and over a text, and reads it.
template <class Read, class Source>
void Check(MultiType::TYPE tag, const Source& source, const Read& expected) {
    const MultiType made(source);
    MultiType assigned(1);
    assigned = source;
    MultiType overText(u"a text");
    overText = "a longer text than fits into the text itself";
    overText = source;
    const MultiType* const values[] = {&made, &assigned, &overText};
    for (const MultiType* value : values) {
        Read read{};
        value->Get(read);
        if (value->Type() != tag || read != expected || value->GetAs<Read>() != expected)
            std::fprintf(stderr, "failed: a value of tag %d\n", tag), ++failures;
    }
    if (!(made == source) || made != source || !(source == made) || source != made)
        std::fprintf(stderr, "failed: comparison with tag %d\n", tag), ++failures;
}

/// Makes a text of `source` and assigns it.
template <class Text, class Source>
void CheckText(const Source& source) {
    const Text made(source);
    Text assigned(4, 'x');
    assigned = source;
    const std::basic_string<typename Text::value_type> expected{'4', '2'};
    Expect(made == expected && assigned == expected, "a text");
}

template <class Text>
void CheckTexts(const std::string& narrow, const std::u16string& wide) {
    CheckText<Text>(narrow);
    CheckText<Text>(wide);
    CheckText<Text>(std::string_view(narrow));
    CheckText<Text>(std::u16string_view(wide));
    const Text made[] = {
        Text(narrow.begin(), narrow.end()), {'4', '2'}, Text(Text(2, '4'), 1) + Text(1, '2')};
    for (const Text& text : made)
        CheckText<Text>(text);
    Expect(std::unordered_set<Text>(std::begin(made), std::end(made)).size() == 1,
           "a set of texts");
}

}  // namespace

int main() {
    const std::string narrow("42");
    const std::u16string wide(u"42");
    CheckTexts<String>(narrow, wide);
    CheckTexts<WString>(narrow, wide);

    Check<std::int64_t>(MultiType::TYPE_INT64, INT64_MIN, INT64_MIN);
    Check<std::uint64_t>(MultiType::TYPE_UINT64, ~std::uint64_t{0}, ~std::uint64_t{0});
    Check<long>(MultiType::TYPE_INT64, -42L, -42L);
    Check<std::size_t>(MultiType::TYPE_UINT64, sizeof(int), sizeof(int));
    Check<unsigned long>(MultiType::TYPE_STRING, "42", 42UL);
    Check<std::string>(MultiType::TYPE_STRING, narrow, narrow);
    Check<std::string>(MultiType::TYPE_WSTRING, wide, narrow);
    Check<std::u16string>(MultiType::TYPE_STRING, std::string_view(narrow), wide);
    Check<std::u16string>(MultiType::TYPE_WSTRING, std::u16string_view(wide), wide);
    Check<int>(MultiType::TYPE_INT, 5, 5);

    // A view of the text that it replaces.
    MultiType value("one and another and a third");
    value = std::string_view(
        static_cast<const char*>(value.GetBuffer(nullptr, nullptr, nullptr)) + 8, 7);
    std::ostringstream out;
    out << value << '|' << MultiType(2.5);
    Expect(out.str() == "another|2.5", "values on a stream");

    MutexLock first, second;
    const std::scoped_lock both(first, second);
    Expect(bool(std::unique_lock<MutexLock>(first, std::try_to_lock)), "a nested lock");
    Expect(getUtilitiesVersion() == UTILITIES_VERSION, "the version");
    Expect(IsCaught(), "an exception");
    CheckDerived();

#ifdef REFUSED
    REFUSED;
#endif
    return failures;
}
