/// The texts that explain a program.
#ifndef SUPPORT_HELP_H
#define SUPPORT_HELP_H

#include <vector>

#include "commandline.h"

/// An option that a command takes.
struct ChosenOption {
    const Option* option;
    bool isRequired;
};

/// The options that a command takes, in its order.
std::vector<ChosenOption> OptionsOf(const Program& program, const Command& command);

/// The long form of an option with its value's name, as in "--threads N".
String FormOf(const Option& option);

/// How a command is called, without words and options.
String CallOf(const Program& program, const Command& command);

/// What --help prints: for the program, for one of its commands. Without a newline at the end.
String HelpOf(const Program& program);
String HelpOf(const Program& program, const Command& command);

/// What --version prints, likewise.
String VersionOf(const Program& program);

#endif
