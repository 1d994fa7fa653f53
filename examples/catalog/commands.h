/// The program's subcommands, a source each. `main` has checked the number of their words; each
/// returns the exit status.
#ifndef CATALOG_COMMANDS_H
#define CATALOG_COMMANDS_H

#include "commandline.h"

/// All went well; something could not be read or written; the command line makes no sense; an
/// interrupt ended the run, as shells have it.
enum ExitStatus { STATUS_DONE = 0, STATUS_FAILED = 1, STATUS_USAGE = 2, STATUS_INTERRUPTED = 130 };

/// `list DIR [PATTERN]`: the regular files below DIR, those whose own name matches PATTERN, in a
/// table of path, size, time of modification and digest, sorted by the bytes of the path, and the
/// totals below. With `--since DATE` and `--until DATE` only what was modified in those days. They
/// are read by `--threads` threads, as with all commands that read files.
ExitStatus List(const CommandLine& line);

// All below work on the catalogue in `--store FILE`. What reads many files shows how far it has
// come, unless `--quiet` is there, which leaves out the totals as well.

/// `scan DIR`: enters the files below DIR in the catalogue, which is made where it is missing, and
/// the totals of what is new, changed, unchanged and missing since the last scan.
ExitStatus ScanDirectory(const CommandLine& line);

/// `show`: the directories that were scanned, and a table of all files. `find PATTERN`: a table of
/// those whose own name matches.
ExitStatus Show(const CommandLine& line);
ExitStatus Find(const CommandLine& line);

/// `verify`: reads all files again and tells which are new, changed or missing, with the totals.
/// STATUS_FAILED if there are any.
ExitStatus Verify(const CommandLine& line);

/// `archive OUT`: compresses the store to OUT.gz. `restore IN`: makes the store from IN.gz, which
/// must hold one. Both tell the sizes, and overwrite nothing without `--force`.
ExitStatus Archive(const CommandLine& line);
ExitStatus Restore(const CommandLine& line);

#endif
