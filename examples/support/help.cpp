#include "help.h"

#include <algorithm>
#include <cstring>
#include <sstream>

namespace {

constexpr std::size_t LINE_WIDTH = 80;
constexpr Option HELP = {'\0', "help", nullptr, "print this and end"};
constexpr Option VERSION = {'\0', "version", nullptr, "print the version and end"};

/// `text` in lines that begin at `column`, except the first, which begins at `used`.
String Wrapped(const char* text, std::size_t column, std::size_t used) {
    String lines(std::string(std::max(column, used) - used, ' '));
    std::size_t width = std::max(column, used);
    std::istringstream words(text);
    for (std::string word, gap; words >> word; gap = " ") {
        if (width + gap.size() + word.size() > LINE_WIDTH && !gap.empty()) {
            lines += "\n" + std::string(column, ' ');
            width = column;
            gap.clear();
        }
        lines += gap + word;
        width += gap.size() + word.size();
    }
    return lines;
}

String Paragraph(const char* text) { return Wrapped(text, 0, 0); }

String LineOf(const Option& option) {
    constexpr std::size_t EXPLANATION = 24;
    const String letter =
        option.letter != '\0' ? String(std::string{'-', option.letter} + ", ") : String("    ");
    const String forms = "  " + letter + FormOf(option) + "  ";
    return forms + Wrapped(option.help, EXPLANATION, forms.size()) + "\n";
}

String UsageOf(const Program& program, const Command& command) {
    String usage = "usage: " + CallOf(program, command);
    bool hasMore = false;
    for (const ChosenOption& one : OptionsOf(program, command)) {
        usage += one.isRequired ? String(" " + FormOf(*one.option)) : String();
        hasMore = hasMore || !one.isRequired;
    }
    usage += hasMore ? " [OPTION]..." : "";
    return usage + (command.words[0] != '\0' ? " " : "") + command.words;
}

/// The first sentence.
std::string SummaryOf(const Command& command) {
    const char* const end = std::strstr(command.help, ". ");
    return end != nullptr ? std::string(command.help, end + 1) : command.help;
}

}  // namespace

std::vector<ChosenOption> OptionsOf(const Program& program, const Command& command) {
    std::vector<ChosenOption> chosen;
    std::istringstream names(command.options);
    for (std::string name; names >> name;) {
        const bool isRequired = name.back() == '!';
        name.resize(name.size() - (isRequired ? 1 : 0));
        const auto option = std::find_if(program.options.begin(), program.options.end(),
                                         [&](const Option& one) { return name == one.name; });
        chosen.push_back({&*option, isRequired});
    }
    return chosen;
}

String FormOf(const Option& option) {
    return "--" + String(option.name) + (option.value != nullptr ? " " : "") +
           (option.value != nullptr ? option.value : "");
}

String CallOf(const Program& program, const Command& command) {
    return program.name + String(command.name[0] != '\0' ? " " : "") + command.name;
}

String HelpOf(const Program& program) {
    constexpr std::size_t EXPLANATION = 12;
    String help = "usage: " + String(program.name) + " COMMAND [OPTION]... [WORD]...\n" +
                  Paragraph(program.help) + "\n\n";
    for (const Command& command : program.commands) {
        const String name = "  " + String(command.name);
        help += name + Wrapped(SummaryOf(command).c_str(), EXPLANATION, name.size()) + "\n";
    }
    return help + "\n'" + program.name + " COMMAND --help' explains a command.\n\n" +
           Paragraph(program.notes);
}

String HelpOf(const Program& program, const Command& command) {
    String help = UsageOf(program, command) + "\n" + Paragraph(command.help) + "\n\n";
    for (const ChosenOption& one : OptionsOf(program, command))
        help += LineOf(*one.option);
    help += LineOf(HELP) + LineOf(VERSION);
    return help + (program.notes[0] != '\0' ? "\n" : "") + Paragraph(program.notes);
}

String VersionOf(const Program& program) {
    String version;
    version.Format("%s (Utilities) %d.%d.%d", program.name, UTILITIES_VERSION_MAJOR,
                   UTILITIES_VERSION_MINOR, UTILITIES_VERSION_PATCH);
    return version;
}
