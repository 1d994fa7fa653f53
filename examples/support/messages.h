/// What a program says, and how it names files.
#ifndef SUPPORT_MESSAGES_H
#define SUPPORT_MESSAGES_H

#include "utilities/utilities.h"

/// `name` in a form that takes one line and shows each name differently: a character that can't be
/// printed and a byte that belongs to none become \n, \t or \xNN, and a backslash is doubled.
String Escaped(const std::string& name);

/// The system's text for an `errno` value.
String ReasonOf(int error);

/// "`number` `thing`s".
String Counted(unsigned __int64 number, const char* thing);

/// One line on the standard error stream: the program's name, `path` escaped, and `reason`.
void Complain(const std::string& path, const std::string& reason);

/// A line on the standard output, and the last of them on its way. Output that can't be written is
/// thrown as `std::system_error`.
void PrintLine(const String& line);
void FinishOutput();

#endif
