/// Times as the user's locale writes them.
#ifndef SUPPORT_LOCALIZED_H
#define SUPPORT_LOCALIZED_H

#include <clocale>
#include <locale>
#include <sstream>

#include "utilities/utilities.h"

/// The text of `time`, any of the library's time classes, in the process's locale for times.
template <class Time>
String Localized(const Time& time) {
    std::ostringstream text;
    text.imbue(
        std::locale(std::locale::classic(), std::setlocale(LC_TIME, nullptr), std::locale::time));
    text << time;
    return text.str();
}

#endif
