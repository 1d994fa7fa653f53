// Values and texts made from what a program has in the types of the language and its library, and
// read as these, in each dialect and by each compiler. REFUSED, if it is defined, is a line that
// must not compile.
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <sstream>
#include <string>
#include <string_view>
#include <unordered_set>

#include "utilities/utilities.h"

namespace {

int failures = 0;

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
    if (made != expected || assigned != expected)
        std::fprintf(stderr, "failed: a text\n"), ++failures;
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
    if (std::unordered_set<Text>(std::begin(made), std::end(made)).size() != 1)
        std::fprintf(stderr, "failed: a set of texts\n"), ++failures;
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
    if (out.str() != "another|2.5")
        std::fprintf(stderr, "failed: %s\n", out.str().c_str()), ++failures;

    MutexLock first, second;
    const std::scoped_lock both(first, second);
    if (!std::unique_lock<MutexLock>(first, std::try_to_lock))
        std::fprintf(stderr, "failed: a nested lock\n"), ++failures;

#ifdef REFUSED
    REFUSED;
#endif
    return failures;
}
