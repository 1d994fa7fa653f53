// Keeps a catalogue of a directory tree.
#include <clocale>
#include <cstdio>
#include <exception>

#include "commands.h"
#include "interrupt.h"
#include "messages.h"

namespace {

const Program PROGRAM = {
    "catalog",
    "Keeps a catalogue of directory trees and tells what changed in them.",
    {{'s', "store", "FILE", "the catalogue's file"},
     {'j', "threads", "N", "read with N threads; by default one for each processor"},
     {'q', "quiet", nullptr, "print no progress and no totals"},
     {'f', "force", nullptr, "overwrite what exists"},
     {'\0', "since", "DATE", "only what was modified on DATE, as 2021-12-31, or later"},
     {'\0', "until", "DATE", "only what was modified on DATE or earlier"}},
    {
        {"list", "DIR [PATTERN]", "since until threads",
         "Lists the files below DIR with size, time and digest. Only those whose own name matches "
         "PATTERN.",
         List},
        {"scan", "DIR", "store! threads quiet", "Enters the files below DIR in the catalogue.",
         ScanDirectory},
        {"show", "", "store!", "Lists what the catalogue has.", Show},
        {"find", "PATTERN", "store!", "Lists the files whose own name matches PATTERN.", Find},
        {"verify", "", "store! threads quiet",
         "Reads all files again and tells which are new, changed or missing.", Verify},
        {"archive", "OUT", "store! force", "Compresses the catalogue to OUT.gz.", Archive},
        {"restore", "IN", "store! force", "Replaces the catalogue by that in IN.gz.", Restore},
    },
    "The exit status is 0 if all is well, 1 if something differs or can't be read, 2 for a wrong "
    "command line, 130 after an interrupt."};

int RunLogged(const CommandLine& line, const Arguments& arguments) {
    String started;
    for (const String& argument : arguments)
        started.append(started.empty() ? "" : " ").append(Escaped(argument));
    VYStatusLogStart();
    VYStatusLogWrite(started.c_str());

    const int status = line.command->run(line);
    FinishOutput();
    VYStatusLogAppend(status == STATUS_DONE ? "done" : "done, with failures");
    return status;
}

int Run(const Arguments& arguments) {
    const auto line = ParseCommandLine(PROGRAM, arguments);
    if (line)
        return RunLogged(*line, arguments);
    FinishOutput();
    return STATUS_DONE;
}

/// Tells the user and the status log why a run failed.
ExitStatus Fail(const char* reason, const char* logged, ExitStatus status) {
    std::fprintf(stderr, "catalog: %s\n", reason);
    VYStatusLogAppend(logged);
    return status;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    std::setlocale(LC_ALL, "");
    CatchInterrupts();
    try {
        return Run({arguments + (argumentCount > 0 ? 1 : 0), arguments + argumentCount});
    } catch (const UsageError& error) {
        return Fail(error.what(), "failed", STATUS_USAGE);
    } catch (const Interrupted& interrupted) {
        return Fail(interrupted.what(), interrupted.what(), STATUS_INTERRUPTED);
    } catch (const std::exception& failure) {
        return Fail(failure.what(), "failed", STATUS_FAILED);
    }
}
