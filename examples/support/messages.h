/// The lines that a program writes, and how it shows file names.
#ifndef SUPPORT_MESSAGES_H
#define SUPPORT_MESSAGES_H

#include "utilities/utilities.h"

/// `name` in printable characters on one line. A character that can't be printed and a byte that
/// belongs to no character become \n, \t or \xNN, and a backslash is doubled, so that different
/// names are shown differently.
String Escaped(const std::string& name);

/// The system's text for an `errno` value.
String ReasonOf(int error);

/// "`number` `thing`s".
String CountOf(unsigned __int64 number, const char* thing);

/// Writes one line to the standard error stream: the program's name, `path` escaped, and `reason`.
void PrintError(const std::string& path, const std::string& reason);

/// Write to the standard output: bytes as they are, a line; `FinishOutput` flushes what is
/// buffered. A failed write is thrown as `std::system_error`.
void PrintText(const std::string& text);
void PrintLine(const String& line);
void FinishOutput();

#endif
