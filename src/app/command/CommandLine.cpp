#include "app/command/CommandTable.h"
#include "app/project/NearestName.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>

namespace velorin::app {

namespace {

CLI::Option* AddField(CLI::App& command, const OptionRow& row, Arguments& arguments) {
    std::string help = row.help ? row.help : "";
    if (row.choices)
        for (const std::string& choice : row.choices()) help += (help.ends_with(':') ? " " : ", ") + choice;
    return std::visit(
        [&](auto field) -> CLI::Option* {
            auto& value = field(arguments);
            using Value = std::remove_reference_t<decltype(value)>;
            if constexpr (std::is_same_v<Value, bool>) {
                return command.add_flag(row.names, value, help);
            } else {
                CLI::Option* option = command.add_option(row.names, value, help);
                if constexpr (std::is_same_v<Value, int>)
                    if (row.most > row.least)
                        option->check(
                            CLI::Range(row.least, row.most).description("")); // the help has words for it
                // One value a mention, so that an argument behind it is not taken for a second one.
                if constexpr (std::is_same_v<Value, std::vector<std::string>>)
                    if (row.names[0] == '-')
                        option->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
                return option;
            }
        },
        row.field);
}

void AddOptions(CLI::App& command, std::span<const OptionRow> rows, Arguments& arguments) {
    for (const OptionRow& row : rows) {
        CLI::Option* const option = AddField(command, row, arguments);
        if (row.type) option->type_name(row.type);
        if (!row.help) option->group("");
        option->required(row.required);
    }
}

// The commands by name; those of a family stand below its head.
std::map<std::string, CLI::App*> AddCommands(CLI::App& app, Arguments& arguments,
                                             int (*&chosen)(const Arguments&)) {
    std::map<std::string, CLI::App*> made;
    for (const CommandRow& row : CommandRows()) {
        const std::string name = row.name;
        const std::size_t space = name.find(' ');
        CLI::App& parent = space == std::string::npos ? app : *made.at(name.substr(0, space));
        CLI::App* const command = parent.add_subcommand(name.substr(space + 1), row.help); // npos + 1 is 0
        made[name] = command;
        if (!row.run) {
            command->require_subcommand(1);
            continue;
        }
        AddOptions(*command, row.options, arguments);
        AddOptions(*command, CommonOptions(), arguments);
        if (row.hostModes) AddOptions(*command, HostModeOptions(), arguments);
        command->callback([&chosen, run = row.run] { chosen = run; });
    }
    return made;
}

// The names of options that a command shows, for who mistypes one.
std::vector<std::string> ShownOptions(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options())
        if (!option->get_group().empty())
            for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

// What is wrong with arguments that no option or place takes.
std::string Surplus(const std::vector<std::string>& extras, const CLI::App& command) {
    const auto option =
        std::find_if(extras.begin(), extras.end(), [](const std::string& text) { return text[0] == '-'; });
    if (option == extras.end()) return "\"" + extras.front() + "\" is one argument too many";
    return "there is no option \"" + *option + "\"" + NearestHint(*option, ShownOptions(command));
}

// One line for what CLI11 refuses, with where the help is.
std::string Refusal(const CLI::App* app, const CLI::Error& error) {
    const CLI::App* command = app;
    std::string name;
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().front();
        name += command->get_name() + " ";
    }
    std::string sentence = error.what();
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError))
        if (const auto extras = command->remaining(); !extras.empty()) sentence = Surplus(extras, *command);
    return "velorin: error: " + sentence + " (see velorin " + name + "--help)\n";
}

// Before anything is parsed, a first word that is no command, or a second one that is none of its family: the
// nearest one is worth more than a list.
bool NamesNoCommand(std::span<char*> words) {
    std::string family;
    for (const std::string word : words.subspan(1, std::min<std::size_t>(words.size() - 1, 2))) {
        std::vector<std::string> names;
        for (const CommandRow& row : CommandRows())
            if (const std::string name = row.name; name.starts_with(family) && name.size() > family.size() &&
                                                   name.find(' ', family.size()) == std::string::npos)
                names.push_back(name.substr(family.size()));
        if (names.empty() || word.starts_with('-')) return false;
        if (std::find(names.begin(), names.end(), word) == names.end()) {
            Console(false).Error("there is no command \"" + family + word + "\"" + NearestHint(word, names));
            return true;
        }
        family += word + " ";
    }
    return false;
}

} // namespace

int RunSetup(const Arguments&) {
    Console(false).Error("setup: this version of the effect has no such operation yet");
    return kFailed;
}

int RunCommand(int argc, char** argv) {
    if (NamesNoCommand({argv, static_cast<std::size_t>(argc)})) return kWrongUsage;
    CLI::App app("Renders projects and models with the Velorin effect.", "velorin");
    app.require_subcommand(1);
    app.failure_message(Refusal);
    Arguments arguments;
    int (*chosen)(const Arguments&) = nullptr;
    AddCommands(app, arguments, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kWrongUsage;
    }
    return chosen(arguments);
}

} // namespace velorin::app
