/// The locale's decimal point in the width of the text that it stands in.
#ifndef UTILITIES_PLATFORM_DECIMALPOINT_INTERNAL_H
#define UTILITIES_PLATFORM_DECIMALPOINT_INTERNAL_H

#include <cstddef>
#include <cstring>
#include <string_view>

#include "utilities/platform/currentlocale.h"
#include "utilities/platform/types.h"
#include "utilities/platform/widetext.h"

namespace platform {

inline constexpr std::size_t POINT_CAPACITY = 8;

/// `room` is where a wide decimal point is kept; the result is good as long as it and the locale.
inline std::string_view DecimalPointText(char (&)[POINT_CAPACITY]) { return DecimalPoint(); }

inline std::u16string_view DecimalPointText(WideChar (&room)[POINT_CAPACITY]) {
    const char* point = DecimalPoint();
    const std::size_t length = std::strlen(point);
    std::size_t units = 1;
    if (length == 1 && static_cast<unsigned char>(*point) < 0x80)
        room[0] = static_cast<WideChar>(*point);
    else
        units = mbstowcs(room, point, length);
    // The categories for numbers and for characters can be of locales with different encodings.
    if (units == CONVERSION_FAILED) {
        room[0] = u'.';
        units = 1;
    }
    return {room, units};
}

}  // namespace platform

#endif
