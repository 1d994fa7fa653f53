/// The program's subcommands, a source each. `main` has checked the number of their words; each
/// returns the exit status.
#ifndef CATALOG_COMMANDS_H
#define CATALOG_COMMANDS_H

#include "commandline.h"

/// How a run ended: all went well; something could not be read or written, or differs; the command
/// line is invalid; an interrupt, with the number that shells use.
enum ExitStatus { STATUS_DONE = 0, STATUS_FAILED = 1, STATUS_USAGE = 2, STATUS_INTERRUPTED = 130 };

/// `list DIR [PATTERN]`: the regular files below DIR, those whose own name matches PATTERN, in a
/// table of path, size, time of modification and digest, sorted by the bytes of the path, with
/// totals at the end. With `--since DATE` and `--until DATE` only those that were modified in these
/// days.
/// `--threads` threads read the files, as in all commands that read files.
int List(const CommandLine& line);

// All commands below work on the catalogue in `--store FILE`. Those that read many files show their
// progress and print totals, unless `--quiet` is given.

/// `scan DIR`: enters the files below DIR in the catalogue, which is created if it is missing, and
/// prints how many are new, changed, unchanged and missing since the last scan.
int ScanDirectory(const CommandLine& line);

/// `show`: prints the directories that were scanned, and a table of all files. `find PATTERN`:
/// prints a table of the files whose own name matches.
int Show(const CommandLine& line);
int Find(const CommandLine& line);

/// `verify`: reads all files again and prints which are new, changed or missing, with totals.
/// STATUS_FAILED if there are any.
int Verify(const CommandLine& line);

/// `archive OUT`: compresses the store to OUT.gz. `restore IN`: replaces the store by that in
/// IN.gz. Both print the sizes, and overwrite nothing without `--force`.
int Archive(const CommandLine& line);
int Restore(const CommandLine& line);

#endif
