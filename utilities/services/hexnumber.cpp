#include "utilities/services/hexnumber.h"

namespace {

constexpr unsigned int NOT_A_DIGIT = 16;

unsigned int DigitValue(char character) {
    if (character >= '0' && character <= '9')
        return static_cast<unsigned int>(character - '0');
    if (character >= 'A' && character <= 'F')
        return static_cast<unsigned int>(character - 'A' + 10);
    if (character >= 'a' && character <= 'f')
        return static_cast<unsigned int>(character - 'a' + 10);
    return NOT_A_DIGIT;
}

}  // namespace

unsigned int HexAToUint(const char* text, const char** end) {
    unsigned int value = 0;
    for (unsigned int digit; (digit = DigitValue(*text)) != NOT_A_DIGIT; ++text)
        value = value * 16 + digit;
    if (end != nullptr)
        *end = text;
    return value;
}
