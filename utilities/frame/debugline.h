/// The library's debug line: a text is formatted and dropped.
#ifndef UTILITIES_FRAME_DEBUGLINE_H
#define UTILITIES_FRAME_DEBUGLINE_H

#include "utilities/frame/export.h"

/// Formats `format` with its arguments (the conversions of `String::Format`) and drops the result:
/// nothing is opened, printed or kept. Exported under its plain name.
///
/// Returns 1 if the text has at most 1024 characters, and 0 if it is longer or an argument can't be
/// converted to the format's width. `format` must not be null. Reentrant, with the same exceptions
/// and the same use of the stack as `String::Format`.
extern "C" UTILITIES_EXPORT int printFmtDBGFile(const char* format, ...);

#endif
