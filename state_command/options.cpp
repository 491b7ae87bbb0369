#include "state_command/options.h"

#include <algorithm>
#include <array>

#include "logging_config/settings.h"
#include "platform/command_line.h"
#include "state_command/option_table.h"

namespace {

struct Command {
    std::string_view name;
    Action action;
};

constexpr std::array commands = {
    Command{show_command.name, Action::show},
    Command{save_command.name, Action::save},
    Command{diff_command.name, Action::diff},
    Command{restore_command.name, Action::restore},
};
static_assert(commands.size() == state_commands.size());

[[noreturn]] void refuse(const std::string& reason) {
    throw Failure(reason + " (see zmlogstate --help)");
}

void check_options(const Options& options) {
    if ((options.all || options.json) && options.action != Action::show) {
        refuse("--all and --json are options of show");
    }
    if ((options.force || options.remove_logs) && options.action != Action::restore) {
        refuse("--force and --remove-logs are options of restore");
    }
}

void take_words(const std::vector<std::string>& words, Options& options) {
    if (words.empty()) {
        refuse("a command is missing: show, save, diff or restore");
    }
    const auto* const found = std::find_if(commands.begin(), commands.end(),
                                           [&](const Command& command) { return command.name == words[0]; });
    if (found == commands.end()) {
        refuse("there is no command \"" + words[0] + "\"");
    }
    options.action = found->action;
    if (options.action == Action::show) {
        options.categories.assign(words.begin() + 1, words.end());
    } else if (words.size() != 2 || words[1].empty()) {
        refuse(words[0] + " takes one folder");
    } else {
        options.folder = words[1];
    }
}

// Returns whether the options after this one matter: help and version end the command line.
bool take_option(const GivenOption& given, Options& options) {
    switch (given.id) {
        case state_option::all_settings:
            options.all = true;
            return true;
        case state_option::json:
            options.json = true;
            return true;
        case state_option::force:
            options.force = true;
            return true;
        case state_option::remove_logs:
            options.remove_logs = true;
            return true;
        case state_option::help:
            options.action = Action::show_help;
            return false;
        case state_option::version:
            options.action = Action::show_version;
            return false;
        default:
            refuse(given.text);
    }
}

std::string command_help() {
    constexpr std::size_t column = 11;
    std::string text;
    for (const StateCommand& command : state_commands) {
        const std::string entry = "  " + std::string(command.name);
        text += entry + std::string(column - entry.size(), ' ') + std::string(command.help) + "\n";
    }
    return text;
}

}  // namespace

Options parse_options(int argc, char** argv) {
    const CommandLine line = read_command_line(state_option::all, OptionsEnd::at_two_dashes, argc, argv);
    Options options;
    for (const GivenOption& given : line.options) {
        if (!take_option(given, options)) {
            return options;
        }
    }
    take_words(line.words, options);
    check_options(options);
    return options;
}

bool wants_json(int argc, char** argv) {
    const CommandLine line = read_command_line(state_option::all, OptionsEnd::at_two_dashes, argc, argv);
    return std::any_of(line.options.begin(), line.options.end(),
                       [](const GivenOption& given) { return given.id == state_option::json; });
}

std::string help_text() {
    const std::vector<std::string_view> categories(category::all.begin(), category::all.end());
    return "Usage: zmlogstate show [--all] [--json] [CATEGORY ...]\n"
           "       zmlogstate save DIR\n"
           "       zmlogstate diff DIR\n"
           "       zmlogstate restore [--force] [--remove-logs] DIR\n"
           "Shows, saves and restores what the logging requests of zmlogadm change on this\n"
           "host.\n\n" +
           command_help() + "\n" + option_help(state_option::all) + "\n" + wrapped_names("Categories:", categories) +
           "\nThe exit status is 0; 1 when diff finds a difference or restore leaves one; 2\n"
           "when a file could not be read, now or at the save; 255 when the arguments are\n"
           "not valid or nothing could be done.\n";
}
