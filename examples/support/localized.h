/// Times as the user's locale writes them.
#ifndef SUPPORT_LOCALIZED_H
#define SUPPORT_LOCALIZED_H

#include <clocale>
#include <locale>
#include <sstream>

#include "utilities/utilities.h"

/// The process's locale for times, as it is at the first call. Building it reads the locale's
/// files, which takes far longer than writing a time.
inline const std::locale& LocaleForTimes() {
    static const std::locale locale(std::locale::classic(), std::setlocale(LC_TIME, nullptr),
                                    std::locale::time);
    return locale;
}

/// The text of `time`, any of the library's time classes, in the process's locale for times.
template <class Time>
String Localized(const Time& time) {
    std::ostringstream text;
    text.imbue(LocaleForTimes());
    text << time;
    return text.str();
}

#endif
