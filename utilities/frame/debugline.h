/// The library's debug line: a text is formatted and dropped.
#ifndef UTILITIES_FRAME_DEBUGLINE_H
#define UTILITIES_FRAME_DEBUGLINE_H

#include "utilities/frame/export.h"

/// Formats `format` with its arguments (the conversions of `String::Format`) and drops the result:
/// nothing is opened, printed or kept. Exported under its plain name.
///
/// Returns 1 if the text has at most 1024 characters, else 0, also where an argument can't cross to
/// the format's width. `format` must not be null. Reentrant: works on the stack alone, but where
/// text crosses in a locale that is neither UTF-8 nor "C".
extern "C" UTILITIES_EXPORT int printFmtDBGFile(const char* format, ...);

#endif
