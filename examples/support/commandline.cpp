#include "commandline.h"

#include <getopt.h>

#include <algorithm>
#include <charconv>
#include <sstream>

#include "help.h"
#include "messages.h"

namespace {

/// The options of one command as `getopt_long` takes them. It returns an option's index in the
/// program's table, which lies above all letters.
class Grammar {
public:
    static constexpr int FIRST_OPTION = 256, HELP = 254, VERSION = 255;

    Grammar(const Program& program, const std::vector<ChosenOption>& chosen) : m_Program(program) {
        Add("help", nullptr, HELP);
        Add("version", nullptr, VERSION);
        for (const ChosenOption& one : chosen) {
            const Option& option = *one.option;
            const auto index = static_cast<int>(&option - program.options.data());
            Add(option.name, option.value, FIRST_OPTION + index);
            if (option.letter != '\0')
                m_Letters += std::string(1, option.letter) + (option.value != nullptr ? ":" : "");
        }
        m_Names.push_back({});
    }

    const char* Letters() const { return m_Letters.c_str(); }
    const option* Names() const { return m_Names.data(); }

    /// The option that `getopt_long` has returned, by its letter or by its index.
    const Option& OptionOf(int returned) const {
        const std::vector<Option>& all = m_Program.options;
        if (returned >= FIRST_OPTION)
            return all[static_cast<std::size_t>(returned - FIRST_OPTION)];
        return *std::find_if(all.begin(), all.end(),
                             [&](const Option& one) { return one.letter == returned; });
    }

private:
    void Add(const char* name, const char* value, int returned) {
        const int kind = value != nullptr ? required_argument : no_argument;
        m_Names.push_back({name, kind, nullptr, returned});
    }

    const Program& m_Program;
    std::string m_Letters = ":";  // A missing value is told from an unknown option.
    std::vector<option> m_Names;
};

[[noreturn]] void Refuse(const Program& program, const Command* command, const String& reason) {
    const String name = command != nullptr ? CallOf(program, *command) : String(program.name);
    throw UsageError(reason + "; try '" + name + " --help'");
}

/// Why `getopt_long` has refused the option before `optind`, with its result.
String ReasonOfRefusal(int result, const char* argument) {
    const String shown =
        Escaped(optopt > 0 && optopt < Grammar::HELP ? std::string("-") + static_cast<char>(optopt)
                                                     : std::string(argument));
    if (result == ':')
        return "option '" + shown + "' needs a value";
    if (optopt >= Grammar::HELP)
        return "option '" + shown.substr(0, shown.find('=')) + "' takes no value";
    return "unknown option '" + shown + "'";
}

void CheckWords(const Program& program, const CommandLine& line) {
    std::size_t least = 0, most = 0;
    std::istringstream forms(line.command->words);
    for (std::string form; forms >> form; ++most) {
        if (form[0] != '[')
            ++least;
        if (form.ends_with("..."))
            most = line.words.size();
        if (least > line.words.size())
            Refuse(program, line.command, form + " is missing");
    }
    if (line.words.size() > most)
        Refuse(program, line.command, "'" + Escaped(line.words[most]) + "' is one word too many");
}

void CheckOptions(const Program& program, const CommandLine& line,
                  const std::vector<ChosenOption>& chosen) {
    for (const ChosenOption& one : chosen) {
        const String* const value = line.ValueOf(one.option->name);
        if (one.isRequired && (value == nullptr || value->empty()))
            Refuse(program, line.command, FormOf(*one.option) + " is missing");
    }
}

/// `arguments` begins with what stands for the program's name. False after --help or --version.
bool Parse(const Program& program, Arguments arguments, CommandLine& line) {
    const std::vector<ChosenOption> chosen = OptionsOf(program, *line.command);
    const Grammar grammar(program, chosen);
    std::vector<char*> pointers;
    for (String& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    const auto count = static_cast<int>(arguments.size());
    optind = 0;  // Begins anew.
    for (int found; (found = getopt_long(count, &pointers[0], grammar.Letters(), grammar.Names(),
                                         nullptr)) != -1;) {
        const char* const last = pointers[static_cast<std::size_t>(optind - 1)];
        if (found == '?' || found == ':')
            Refuse(program, line.command, ReasonOfRefusal(found, last));
        if (found == Grammar::HELP || found == Grammar::VERSION) {
            PrintLine(found == Grammar::HELP ? HelpOf(program, *line.command) : VersionOf(program));
            return false;
        }
        line.options[grammar.OptionOf(found).name].push_back(optarg != nullptr ? optarg : "");
    }
    line.words.assign(pointers.begin() + optind, pointers.begin() + count);
    CheckOptions(program, line, chosen);
    CheckWords(program, line);
    return true;
}

}  // namespace

const String* CommandLine::ValueOf(const char* option) const {
    const auto found = options.find(option);
    return found != options.end() ? &found->second.back() : nullptr;
}

Arguments CommandLine::ValuesOf(const char* option) const {
    const auto found = options.find(option);
    return found != options.end() ? found->second : Arguments();
}

int CommandLine::NumberOf(const char* option, int least, int most, int fallback) const {
    const String* text = ValueOf(option);
    if (text == nullptr)
        return fallback;
    int number = 0;
    const char* const end = text->c_str() + text->size();
    const auto [stop, error] = std::from_chars(text->c_str(), end, number);
    if (error != std::errc() || stop != end || number < least || number > most)
        throw UsageError("--" + std::string(option) + " " + Escaped(*text) +
                         ": not a number from " + std::to_string(least) + " to " +
                         std::to_string(most));
    return number;
}

std::optional<CommandLine> ParseCommandLine(const Program& program, const Arguments& arguments) {
    CommandLine line;
    const std::vector<Command>& commands = program.commands;
    const bool isOnly = commands.size() == 1 && commands[0].name[0] == '\0';
    const String first = arguments.empty() ? String() : arguments[0];
    if (!isOnly && (first == "--help" || first == "--version")) {
        PrintLine(first == "--help" ? HelpOf(program) : VersionOf(program));
        return std::nullopt;
    }
    const auto command = std::find_if(commands.begin(), commands.end(), [&](const Command& one) {
        return isOnly || (!first.empty() && first == one.name);
    });
    if (command == commands.end())
        Refuse(program, nullptr,
               arguments.empty() ? String("a command is missing")
                                 : String("unknown command '" + Escaped(first) + "'"));
    line.command = &*command;
    Arguments rest{program.name};
    rest.insert(rest.end(), arguments.begin() + (isOnly ? 0 : 1), arguments.end());
    return Parse(program, rest, line) ? std::optional(line) : std::nullopt;
}
