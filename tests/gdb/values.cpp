// What the debugger is asked to show: values that nothing valid holds, and some of every tag.
#include "tests/values/flat_forms.h"

namespace {

[[gnu::noinline]] void Show(const MultiType*) { asm volatile("" ::: "memory"); }

}  // namespace

int main() {
    const String narrow("a\"\xC3\xA4\xFF"), empty;
    const WString wide(u"\u00E4\U0001F600\xD800x");
    std::vector<MultiType> values;
    for (const int tag : {1, 14, 99})
        values.push_back(Tagged(tag));
    values.emplace_back(40, std::string(40, 'x').data(), 0xFFFFFFFF);
    for (const Flat& flat : FlatForms())
        values.push_back(flat.value);
    const MultiType* const first = values.data();
    Show(first);
}
