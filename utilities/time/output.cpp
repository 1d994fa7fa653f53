#include "utilities/time/output_internal.h"

#include <cstring>
#include <ctime>
#include <iterator>
#include <locale>

#include "utilities/time/bqgmtime.h"

namespace {

using TimePut = std::time_put<char, std::ostreambuf_iterator<char>>;

void AppendTwoDigits(char*& end, int number) {
    *end++ = static_cast<char>('0' + number / 10);
    *end++ = static_cast<char>('0' + number % 10);
}

/// Writes what the facet of the classic locale writes, %m/%d/%y or %H:%M:%S, at a fraction of its
/// cost. No program can replace that facet. False where the write fails.
bool PutClassic(std::streambuf& buffer, const struct tm& record, char representation) {
    const bool isDate = representation == 'x';
    char text[8];
    char* end = text;
    AppendTwoDigits(end, isDate ? record.tm_mon + 1 : record.tm_hour);
    *end++ = isDate ? '/' : ':';
    AppendTwoDigits(end, isDate ? record.tm_mday : record.tm_min);
    *end++ = isDate ? '/' : ':';
    AppendTwoDigits(end, isDate ? record.tm_year % 100 : record.tm_sec);
    return buffer.sputn(text, sizeof text) == sizeof text;
}

/// Whether the locale is the classic one itself. Another one like it counts as different. To ask
/// `==` would cost ten times as much as the output where a locale is made of several: it compares
/// their names, which it puts together.
bool IsClassic(const std::locale& locale) {
    return std::memcmp(&locale, &std::locale::classic(), sizeof locale) == 0;
}

bool PutBy(const TimePut& facet, std::ostream& stream, const struct tm& record,
           char representation) {
    return !facet.put(std::ostreambuf_iterator<char>(stream), stream, '\0', &record, representation)
                .failed();
}

}  // namespace

std::ostream& PutFields(std::ostream& stream, std::int32_t seconds, char representation) {
    const std::ostream::sentry sentry(stream);
    if (!sentry)
        return stream;
    const struct tm record = BqGMTime::gmtime(&seconds, nullptr);
    const std::locale locale = stream.getloc();
    const bool isClassic = IsClassic(locale);
    if (!isClassic && !std::has_facet<TimePut>(locale))
        return stream;
    const bool isWritten =
        isClassic ? PutClassic(*stream.rdbuf(), record, representation)
                  : PutBy(std::use_facet<TimePut>(locale), stream, record, representation);
    if (!isWritten)
        stream.setstate(std::ios_base::failbit);
    return stream;
}
