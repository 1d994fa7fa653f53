/// The program's subcommands, which `main` explains to the user. It has checked words and options;
/// each command returns an exit status, or throws.
#ifndef CATALOG_COMMANDS_H
#define CATALOG_COMMANDS_H

#include "commandline.h"

/// How a run ended: all went well; something could not be read or written, or differs; the command
/// line is invalid; an interrupt, with the number that shells use.
enum ExitStatus { STATUS_DONE = 0, STATUS_FAILED = 1, STATUS_USAGE = 2, STATUS_INTERRUPTED = 130 };

int List(const CommandLine& line);
int ScanDirectory(const CommandLine& line);
int Accept(const CommandLine& line);
int Forget(const CommandLine& line);
int Verify(const CommandLine& line);
int Show(const CommandLine& line);
int Find(const CommandLine& line);
int Export(const CommandLine& line);
int Check(const CommandLine& line);
int Archive(const CommandLine& line);
int Restore(const CommandLine& line);

#endif
