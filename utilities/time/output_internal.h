/// What the outputs of dates and times of day have in common.
#ifndef UTILITIES_TIME_OUTPUT_INTERNAL_H
#define UTILITIES_TIME_OUTPUT_INTERNAL_H

#include <cstdint>
#include <ostream>

/// Writes the GMT fields of `seconds` as the stream's locale has them: the date for the
/// `representation` 'x', the time of day for 'X'. Nothing is written to a stream that isn't good,
/// or whose locale has no `time_put<char>`; a write that fails sets `failbit`. Returns the stream.
std::ostream& PutFields(std::ostream& stream, std::int32_t seconds, char representation);

#endif
