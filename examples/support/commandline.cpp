#include "commandline.h"

#include <algorithm>
#include <charconv>
#include <sstream>

namespace {

/// The words and options that a usage allows.
struct Grammar {
    std::size_t leastWords = 0;
    std::size_t mostWords = 0;
    std::map<String, bool> options;  ///< True for one that takes a value.
};

Grammar GrammarOf(const String& usage) {
    Grammar grammar;
    String option;
    std::istringstream tokens(usage);
    std::string token;
    for (tokens >> token; tokens >> token;) {
        const bool isOptional = token[0] == '[';
        String name(token);
        name.erase(
            std::remove_if(name.begin(), name.end(), [](char c) { return c == '[' || c == ']'; }),
            name.end());
        if (name.compare(0, 2, "--") == 0) {
            option = name.substr(2);
            grammar.options[option] = false;
        } else if (!option.empty()) {
            grammar.options[option] = true;
        } else {
            grammar.leastWords += isOptional ? 0 : 1;
            ++grammar.mostWords;
        }
    }
    return grammar;
}

bool Fits(const CommandLine& line, const Grammar& grammar) {
    return line.words.size() >= grammar.leastWords && line.words.size() <= grammar.mostWords;
}

}  // namespace

const String* CommandLine::ValueOf(const char* option) const {
    const auto found = options.find(option);
    return found != options.end() ? &found->second : nullptr;
}

int CommandLine::NumberOf(const char* option, int least, int most, int fallback) const {
    const String* text = ValueOf(option);
    if (text == nullptr)
        return fallback;
    int number = 0;
    const char* const end = text->c_str() + text->size();
    const auto [stop, error] = std::from_chars(text->c_str(), end, number);
    if (error != std::errc() || stop != end || number < least || number > most)
        throw UsageError("--" + std::string(option) + ": not a number from " +
                         std::to_string(least) + " to " + std::to_string(most));
    return number;
}

std::optional<CommandLine> ParseCommandLine(const Arguments& arguments, const String& usage) {
    const Grammar grammar = GrammarOf(usage);
    CommandLine line;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        if (*argument == "--") {
            line.words.insert(line.words.end(), argument + 1, arguments.end());
            break;
        }
        if (argument->compare(0, 2, "--") != 0) {
            line.words.push_back(*argument);
            continue;
        }
        const auto option = grammar.options.find(String(argument->substr(2)));
        const bool isLast = argument + 1 == arguments.end();
        if (option == grammar.options.end() || (option->second && isLast))
            return std::nullopt;
        line.options[option->first] = option->second ? *++argument : String();
    }
    return Fits(line, grammar) ? std::optional(line) : std::nullopt;
}
