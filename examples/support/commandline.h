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
    std::map<String, String> options;  ///< Values by names, without dashes; empty without a value.

    /// Whether the option was given.
    bool Has(const char* option) const { return options.count(option) != 0; }

    /// The value of an option; null if it wasn't given.
    const String* ValueOf(const char* option) const;

    /// The value of an option as a number; `fallback` if it wasn't given. Anything that is not a
    /// number from `least` to `most` is thrown as `UsageError`.
    int NumberOf(const char* option, int least, int most, int fallback) const;
};

/// An invalid command line; `what` tells why.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Splits the arguments after a command's name into words and options, which can stand in any
/// order; after "--" all are words. Returns nothing where they don't fit the command's usage, as in
///
///     list DIR [PATTERN] [--threads N] [--quiet]
///
/// which allows one word or two and the options that it names. An option takes a value if the usage
/// has a word after it.
std::optional<CommandLine> ParseCommandLine(const Arguments& arguments, const String& usage);

#endif
