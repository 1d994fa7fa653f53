#include "utilities/frame/debugline.h"

#include <cstdarg>

#include "utilities/runtime/print.h"

int printFmtDBGFile(const char* format, ...) {
    char line[1024];
    std::va_list arguments;
    va_start(arguments, format);
    const int length = runtime::_vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    return length >= 0 ? 1 : 0;
}
