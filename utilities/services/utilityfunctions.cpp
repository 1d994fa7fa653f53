#include "utilities/services/utilityfunctions.h"

namespace {

constexpr unsigned int NO_DIGIT = 16;

unsigned int HexDigit(char character) {
    if (character >= '0' && character <= '9')
        return static_cast<unsigned int>(character - '0');
    if (character >= 'A' && character <= 'F')
        return static_cast<unsigned int>(character - 'A' + 10);
    if (character >= 'a' && character <= 'f')
        return static_cast<unsigned int>(character - 'a' + 10);
    return NO_DIGIT;
}

}  // namespace

unsigned int HexAToUint(const char* text, const char** end) {
    unsigned int value = 0;
    for (unsigned int digit; (digit = HexDigit(*text)) != NO_DIGIT; ++text)
        value = value * 16 + digit;
    if (end != nullptr)
        *end = text;
    return value;
}

void SetDigOut(bool) {}
