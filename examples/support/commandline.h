/// The words and options of a command line.
#ifndef SUPPORT_COMMANDLINE_H
#define SUPPORT_COMMANDLINE_H

#include <map>
#include <optional>
#include <stdexcept>
#include <vector>

#include "utilities/utilities.h"

using Arguments = std::vector<String>;

struct CommandLine {
    Arguments words;
    std::map<String, String> options;  ///< By their names without the dashes.

    bool Has(const char* option) const { return options.count(option) != 0; }

    /// Null for an option that wasn't given.
    const String* ValueOf(const char* option) const;

    /// The value of an option that is a number from `least` to `most`; `otherwise` where it wasn't
    /// given.
    int NumberOf(const char* option, int least, int most, int otherwise) const;
};

/// A command line that makes no sense; `what` tells why.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Splits the arguments behind a command's name into words and options, which can stand in any
/// order; behind "--" all are words. Nothing where they don't fit the command's usage, as
///
///     list DIR [PATTERN] [--threads N] [--quiet]
///
/// that is, a word or two, and the options that it names, with a value where one follows.
std::optional<CommandLine> ParseCommandLine(const Arguments& arguments, const String& usage);

#endif
