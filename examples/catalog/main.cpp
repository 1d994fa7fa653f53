// Keeps a catalogue of a directory tree.
#include <clocale>
#include <cstdio>
#include <exception>

#include "commands.h"
#include "messages.h"

namespace {

struct Command {
    const char* name;
    const char* usage;
    std::size_t leastArguments;
    std::size_t mostArguments;
    ExitStatus (*run)(const Arguments&);
};

constexpr Command COMMANDS[] = {
    {"list", "list DIR [PATTERN]", 1, 2, List},
};

ExitStatus ShowUsage() {
    for (const Command& command : COMMANDS)
        std::fprintf(stderr, "usage: catalog %s\n", command.usage);
    return STATUS_USAGE;
}

const Command* FindCommand(const Arguments& words) {
    for (const Command& command : COMMANDS)
        if (!words.empty() && words[0] == command.name &&
            words.size() - 1 >= command.leastArguments && words.size() - 1 <= command.mostArguments)
            return &command;
    return nullptr;
}

ExitStatus Run(const Command& command, const Arguments& words) {
    const Arguments arguments(words.begin() + 1, words.end());
    String started(command.name);
    for (const String& argument : arguments)
        started.append(" ").append(Escaped(argument));
    VYStatusLogStart();
    VYStatusLogWrite(started.c_str());

    const ExitStatus status = command.run(arguments);
    FinishOutput();
    VYStatusLogAppend(status == STATUS_DONE ? "done" : "done, with failures");
    return status;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    std::setlocale(LC_ALL, "");
    try {
        const Arguments words(arguments + (argumentCount > 0 ? 1 : 0), arguments + argumentCount);
        const Command* command = FindCommand(words);
        return command == nullptr ? ShowUsage() : Run(*command, words);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "catalog: %s\n", failure.what());
        VYStatusLogAppend("failed");
        return STATUS_FAILED;
    }
}
