/// Times as the user's locale writes them.
#ifndef SUPPORT_LOCALIZED_H
#define SUPPORT_LOCALIZED_H

#include <clocale>
#include <locale>
#include <sstream>

#include "utilities/utilities.h"

/// A stream that writes in the process's locale for times, as it is at the thread's first call. To
/// build a named locale reads its files, and takes far longer than to write a time.
inline std::ostringstream& StreamForTimes() {
    thread_local std::ostringstream stream = [] {
        std::ostringstream localized;
        localized.imbue(std::locale(std::locale::classic(), std::setlocale(LC_TIME, nullptr),
                                    std::locale::time));
        return localized;
    }();
    return stream;
}

/// The text of `time`, any of the library's time classes, in the process's locale for times.
template <class Time>
String Localized(const Time& time) {
    std::ostringstream& stream = StreamForTimes();
    stream.str("");
    stream << time;
    return stream.str();
}

#endif
