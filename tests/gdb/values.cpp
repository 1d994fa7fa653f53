// What the debugger is asked to show: a value of every tag, and some that nothing valid holds.
#include "utilities/values/multitype.h"

namespace {

/// A value whose tag or datum something has overwritten.
struct Damaged : MultiType {
    Damaged(TYPE type, String* text) {
        m_type = type;
        m_v.str = text;
    }
    ~Damaged() override { m_type = TYPE_INVALID; }
};

[[gnu::noinline]] void Shown(const MultiType*) { asm volatile("" ::: "memory"); }

}  // namespace

int main() {
    const unsigned char bytes[40] = {0xDE, 0xAD, 0xBE, 0xEF};
    const String narrow("a\"\xC3\xA4\xFF"), empty;
    const WString wide(u"\u00E4\U0001F600\xD800x");
    const MultiType values[] = {MultiType(),
                                MultiType(4, bytes, 7),
                                MultiType(40, bytes, 0xFFFFFFFF),
                                MultiType(0, "", 0),
                                MultiType(true),
                                MultiType(static_cast<char>(-5)),
                                MultiType(static_cast<short>(-300)),
                                MultiType(-70000),
                                MultiType(-5000000000LL),
                                MultiType(static_cast<unsigned char>(200)),
                                MultiType(static_cast<unsigned short>(60000)),
                                MultiType(4000000000U),
                                MultiType(18446744073709551615ULL),
                                MultiType(1.5F),
                                MultiType(-0.25),
                                MultiType(narrow),
                                MultiType(wide)};
    const Damaged noText(MultiType::TYPE_WSTRING, nullptr);
    const Damaged noBlock(MultiType::TYPE_RAW, reinterpret_cast<String*>(8));
    const Damaged noTag(static_cast<MultiType::TYPE>(99), nullptr);
    Shown(values);
}
