/// One check for the text classes of both widths.
#ifndef TESTS_SUPPORT_BOTH_WIDTHS_H
#define TESTS_SUPPORT_BOTH_WIDTHS_H

#include <type_traits>

#include "utilities/text/qelstring.h"

template <class Text>
using OtherOf = std::conditional_t<std::is_same_v<Text, String>, WString, String>;

/// Calls `check` with an empty text of each width. Both are made of narrow literals.
void ForBothWidths(auto check) {
    check(String());
    check(WString());
}

#endif
