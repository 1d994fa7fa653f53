#include "commandline.h"

#include <algorithm>
#include <charconv>

const String* CommandLine::ValueOf(const char* option) const {
    const auto found = options.find(option);
    return found != options.end() ? &found->second : nullptr;
}

int CommandLine::NumberOf(const char* option, int least, int most, int otherwise) const {
    const String* text = ValueOf(option);
    if (text == nullptr)
        return otherwise;
    int number = 0;
    const char* const end = text->c_str() + text->size();
    const auto [stop, error] = std::from_chars(text->c_str(), end, number);
    if (error != std::errc() || stop != end || number < least || number > most)
        throw UsageError("--" + std::string(option) + ": not a number from " +
                         std::to_string(least) + " to " + std::to_string(most));
    return number;
}

std::optional<CommandLine> ParseCommandLine(const Arguments& arguments,
                                            const std::vector<Option>& known) {
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
        const String name(argument->substr(2));
        const auto option = std::find_if(known.begin(), known.end(),
                                         [&](const Option& one) { return name == one.name; });
        if (option == known.end() || (option->takesValue && argument + 1 == arguments.end()))
            return std::nullopt;
        line.options[name] = option->takesValue ? *++argument : String();
    }
    return line;
}
