/// The program's subcommands, a source each. `main` has checked the number of their words; each
/// returns the exit status.
#ifndef CATALOG_COMMANDS_H
#define CATALOG_COMMANDS_H

#include "commandline.h"

/// All went well; something could not be read or written; the command line makes no sense; an
/// interrupt ended the run, as shells have it.
enum ExitStatus { STATUS_DONE = 0, STATUS_FAILED = 1, STATUS_USAGE = 2, STATUS_INTERRUPTED = 130 };

/// `list DIR [PATTERN]`: the regular files below DIR, those whose own name matches PATTERN, in a
/// table of path, size and digest, sorted by the bytes of the path, and the totals below. They are
/// read by `--threads` threads.
ExitStatus List(const CommandLine& line);

#endif
