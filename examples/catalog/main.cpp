// Keeps a catalogue of a directory tree.
#include <clocale>
#include <cstdio>
#include <exception>

#include "commands.h"
#include "interrupt.h"
#include "messages.h"
#include "statuslogs.h"

namespace {

const Program PROGRAM = {
    "catalog",
    "Keeps a catalogue of directory trees and tells what changed in them.",
    {{'s', "store", "FILE", "the catalogue's file"},
     {'j', "threads", "N", "read with N threads; by default one for each processor"},
     {'q', "quiet", nullptr, "show no progress, which is shown on terminals only"},
     {'x', "exclude", "PATTERN",
      "leave out what has such a name, or such a path below DIR if there is a slash in it, and all "
      "below; can be given again. A scan keeps the patterns of the last one unless it is given "
      "others, or '' for none"},
     {'f', "full", nullptr, "read all files, also those whose size and time are the old ones"},
     {'0', "null", nullptr,
      "names are listed on the standard input, each with a zero byte after it"},
     {'\0', "sha256", nullptr, "with SHA-256 digests; a scan keeps them up from then on"},
     {'r', "root", "DIR", "the directory is now at DIR, or is a copy there"},
     {'c', "content", nullptr, "rights and owners make no difference"},
     {'l', "long", nullptr, "show rights and owners, and directories, links and so on"},
     {'d', "dates", "FORM", "iso, as 2021-12-31 23:59:59, or locale; iso by default"},
     {'\0', "since", "DATE", "only what was modified on DATE, as 2021-12-31, or later"},
     {'\0', "until", "DATE", "only what was modified on DATE or earlier"},
     {'F', "format", "FORM", "md5, sha256 or json; md5 by default"},
     {'t', "tag", nullptr, "write lines with the algorithm's name in front"},
     {'z', "zero", nullptr, "lines end with a zero byte, and names are not escaped"},
     {'R', "relative", nullptr, "write paths relative to the scanned directories"},
     {'\0', "force", nullptr, "overwrite what exists"},
     {'\0', "log", "DIR", "keep the program's status logs in DIR"}},
    {
        {"scan", "DIR [-]", "store! full sha256 exclude null threads quiet log",
         "Enters DIR and what is below it in the catalogue. Files with the size and time that the "
         "catalogue has are not read again. With - or --null only what is listed on the standard "
         "input is entered. The catalogue is created if it is missing.",
         ScanDirectory},
        {"verify", "[PATH]...", "store! root content exclude threads quiet log",
         "Reads all files again and tells what is new, changed, moved or missing. With PATHs only "
         "what is within them. The exit status is 1 if anything is.",
         Verify},
        {"accept", "PATH...", "store! threads quiet log",
         "Enters what is within PATH as it is now. Reads all files there, so that also changes "
         "which keep size and time are entered.",
         Accept},
        {"forget", "PATH", "store! log", "Takes what is within PATH out of the catalogue.", Forget},
        {"show", "", "store! long sha256 dates log", "Lists what the catalogue has.", Show},
        {"find", "PATTERN", "store! long sha256 dates log",
         "Lists what has a name that matches PATTERN in the catalogue.", Find},
        {"list", "DIR|- [PATTERN]", "sha256 since until dates exclude null threads log",
         "Lists the files below DIR with size, time and digest. With PATTERN those whose own name "
         "matches it; for - those that are listed on the standard input.",
         List},
        {"export", "", "store! format tag zero relative log",
         "Writes the catalogue in a form that other programs read. That of md5sum and sha256sum, "
         "or a JSON object a line.",
         Export},
        {"check", "[FILE]...", "root zero threads quiet log",
         "Checks the files that are listed in FILEs in one of export's forms. Paths are relative "
         "to "
         "the working directory or --root. Without FILE, and for -, reads the standard input.",
         Check},
        {"archive", "OUT", "store! force log", "Compresses the catalogue to OUT.gz.", Archive},
        {"restore", "IN", "store! force log", "Replaces the catalogue by that in IN.gz.", Restore},
    },
    "The exit status is 0 if all is well, 1 if something differs or can't be read, 2 for a wrong "
    "command line, 130 after an interrupt."};

int RunLogged(const CommandLine& line, const Arguments& arguments) {
    String started;
    for (const String& argument : arguments)
        started.append(started.empty() ? "" : " ").append(Escaped(argument));
    const String* const log = line.ValueOf("log");
    KeepStatusLogs(log != nullptr ? *log : String());
    BeginStatusLog(started);

    const int status = line.command->run(line);
    FinishOutput();
    AppendStatus(status == STATUS_DONE ? "done" : "done, with failures");
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
    AppendStatus(logged);
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
