// Keeps a catalogue of a directory tree.
#include <algorithm>
#include <clocale>
#include <cstdio>
#include <exception>
#include <iterator>

#include "commands.h"
#include "interrupt.h"
#include "messages.h"

namespace {

struct Command {
    const char* name;
    const char* usage;
    ExitStatus (*run)(const CommandLine&);
};

constexpr Command COMMANDS[] = {
    {"list", "list DIR [PATTERN] [--since DATE] [--until DATE] [--threads N]", List},
    {"scan", "scan DIR --store FILE [--threads N] [--quiet]", ScanDirectory},
    {"show", "show --store FILE", Show},
    {"find", "find PATTERN --store FILE", Find},
    {"verify", "verify --store FILE [--threads N] [--quiet]", Verify},
    {"archive", "archive OUT --store FILE [--force]", Archive},
    {"restore", "restore IN --store FILE [--force]", Restore},
};

ExitStatus ShowUsage() {
    for (const Command& command : COMMANDS)
        std::fprintf(stderr, "usage: catalog %s\n", command.usage);
    return STATUS_USAGE;
}

ExitStatus Run(const Command& command, const CommandLine& line, const Arguments& arguments) {
    String started;
    for (const String& argument : arguments)
        started.append(started.empty() ? "" : " ").append(Escaped(argument));
    VYStatusLogStart();
    VYStatusLogWrite(started.c_str());

    const ExitStatus status = command.run(line);
    FinishOutput();
    VYStatusLogAppend(status == STATUS_DONE ? "done" : "done, with failures");
    return status;
}

ExitStatus Run(const Arguments& arguments) {
    const auto command = std::find_if(
        std::begin(COMMANDS), std::end(COMMANDS),
        [&](const Command& one) { return !arguments.empty() && arguments[0] == one.name; });
    if (command == std::end(COMMANDS))
        return ShowUsage();
    const auto line = ParseCommandLine({arguments.begin() + 1, arguments.end()}, command->usage);
    if (!line)
        return ShowUsage();
    return Run(*command, *line, arguments);
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
