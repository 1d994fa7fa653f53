/// The locale's decimal point in the width of the text in which it stands.
#ifndef UTILITIES_RUNTIME_DECIMALPOINT_H
#define UTILITIES_RUNTIME_DECIMALPOINT_H

#include <cstddef>
#include <cstring>
#include <string_view>

#include "utilities/frame/types.h"
#include "utilities/platform/currentlocale.h"
#include "utilities/platform/widetext.h"

namespace runtime {

inline constexpr std::size_t POINT_CAPACITY = 8;

/// The result stays valid as long as the locale and the buffer, in which a wide one is kept.
inline std::string_view DecimalPointText(char (&)[POINT_CAPACITY]) {
    return platform::DecimalPoint();
}

inline std::u16string_view DecimalPointText(WideChar (&buffer)[POINT_CAPACITY]) {
    const char* point = platform::DecimalPoint();
    const std::size_t length = std::strlen(point);
    std::size_t units = 1;
    if (length == 1 && static_cast<unsigned char>(*point) < 0x80)
        buffer[0] = static_cast<WideChar>(*point);
    else
        units = platform::mbstowcs(buffer, point, length);
    // The categories for numbers and for characters can be of locales with different encodings.
    if (units == platform::CONVERSION_FAILED) {
        buffer[0] = u'.';
        units = 1;
    }
    return {buffer, units};
}

}  // namespace runtime

#endif
