/// Command lines: what a program takes is one table, from which they are understood and explained.
#ifndef SUPPORT_COMMANDLINE_H
#define SUPPORT_COMMANDLINE_H

#include <map>
#include <optional>
#include <stdexcept>
#include <vector>

#include "utilities/utilities.h"

using Arguments = std::vector<String>;

struct CommandLine;

/// An option, as in `-j N` and `--threads N`. With a value it can also be written `-jN` and
/// `--threads=N`; a long name can be cut while it stays unique.
struct Option {
    char letter;        ///< The short form; '\0' without one.
    const char* name;   ///< The long form, without dashes.
    const char* value;  ///< What the value is called; null without one.
    const char* help;   ///< One phrase.
};

/// What a program can be asked to do.
struct Command {
    const char* name;     ///< The first argument; empty if the program has one command only.
    const char* words;    ///< As in "DIR [PATTERN]" or "[FILE]...".
    const char* options;  ///< Names of the program's options that it takes, with a `!` after those
                          ///< that must be given.
    const char* help;     ///< Sentences; the first one is for lists of commands.
    int (*run)(const CommandLine&);  ///< Returns the exit status.
};

struct Program {
    const char* name;
    const char* help;  ///< A sentence.
    std::vector<Option> options;
    std::vector<Command> commands;
    const char* notes;  ///< What the help says at the end.
};

/// A command with its words and options.
struct CommandLine {
    const Command* command = nullptr;
    Arguments words;
    std::map<String, Arguments> options;  ///< Values by long names; an empty one without a value.

    /// Whether the option was given.
    bool Has(const char* option) const { return options.count(option) != 0; }

    /// The last value that was given to an option; null if it wasn't given.
    const String* ValueOf(const char* option) const;

    /// All values of an option, in the order in which they were given.
    Arguments ValuesOf(const char* option) const;

    /// The value of an option as a number; `fallback` if it wasn't given. Anything that is not a
    /// number from `least` to `most` is thrown as `UsageError`.
    int NumberOf(const char* option, int least, int most, int fallback) const;
};

/// An invalid command line; `what` tells why.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Understands the arguments after a program's name. Words and options can stand in any order;
/// after "--" all are words. What the program doesn't take is thrown as `UsageError`. Every command
/// takes `--help`, and every program `--version` too: nothing is returned after the answer has been
/// printed.
std::optional<CommandLine> ParseCommandLine(const Program& program, const Arguments& arguments);

#endif
