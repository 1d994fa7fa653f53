// What the debugger is asked to show: values that nothing valid holds, and some of every tag.
#include "tests/values/flat_forms.h"

namespace {

// A program that names a tag has the enumeration in its debug information.
MultiType::TYPE lastTag = MultiType::TYPE_MIXED_INT64;

[[gnu::noinline]] void Show(const MultiType& value, const String& narrow, const WString& wide) {
    asm volatile("" ::"r"(&value), "r"(&narrow), "r"(&wide), "r"(&lastTag) : "memory");
}

}  // namespace

int main() {
    const String narrow("a\"\xC3\xA4\xFF"), empty;
    const WString wide(u"\u00E4\U0001F600\xD800x");
    for (const int tag : {1, 14, 99})
        Show(Tagged(tag), narrow, wide);
    Show({40, std::string(40, 'x').data(), 0xFFFFFFFF}, narrow, wide);
    for (const Flat& flat : FlatForms())
        Show(flat.value, empty, wide);
}
