#include "platform/command_line.h"

#include <getopt.h>

#include <algorithm>

#include "platform/text_encoding.h"

namespace {

constexpr std::size_t help_columns = 80;

using Options = std::span<const CommandOption>;

std::string letters_of(Options options, OptionsEnd end) {
    // ":" makes getopt_long return ':' for a missing argument.
    std::string letters = end == OptionsEnd::at_first_word ? "+:" : ":";
    for (const CommandOption& row : options) {
        if (row.has_letter()) {
            letters += static_cast<char>(row.id);
            letters += row.takes_argument() ? ":" : "";
        }
    }
    return letters;
}

std::vector<option> names_of(Options options) {
    std::vector<option> names;
    for (const CommandOption& row : options) {
        names.push_back({row.name, row.takes_argument() ? required_argument : no_argument, nullptr, row.id});
    }
    names.push_back({nullptr, 0, nullptr, 0});
    return names;
}

// Describes a long option that getopt_long does not know, or an abbreviation of several.
std::string describe_unknown_name(Options options, std::string_view given) {
    given = given.substr(0, given.find('='));
    const auto is_meant = [given](const CommandOption& row) {
        return std::string_view(row.name).starts_with(given.substr(2));
    };
    const bool is_ambiguous = std::any_of(options.begin(), options.end(), is_meant);
    return (is_ambiguous ? "several options begin with " : "there is no option ") + printable(given);
}

// Describes the error that getopt_long has just returned as ':' or '?'.
std::string describe_error(Options options, int returned, char** argv) {
    const auto known =
        std::find_if(options.begin(), options.end(), [](const CommandOption& row) { return row.id == optopt; });
    if (known != options.end()) {
        return std::string("the option --") + known->name +
               (returned == ':' ? " needs an argument" : " takes no argument");
    }
    if (optopt != 0) {
        return "there is no option -" + printable(std::string(1, static_cast<char>(optopt)));
    }
    return describe_unknown_name(options, argv[optind - 1]);
}

std::string help_entry(const CommandOption& row) {
    std::string text = row.has_letter() ? std::string("  -") + static_cast<char>(row.id) + ", " : "      ";
    text += std::string("--") + row.name;
    return row.takes_argument() ? text + " " + std::string(row.argument) : text;
}

}  // namespace

CommandLine read_command_line(std::span<const CommandOption> options, OptionsEnd end, int argc, char** argv) {
    const std::string letters = letters_of(options, end);
    const std::vector<option> names = names_of(options);
    CommandLine line;
    optind = 0;  // getopt_long starts again, also in a process that has read another command line
    opterr = 0;
    for (int id = 0; (id = getopt_long(argc, argv, letters.c_str(), names.data(), nullptr)) != -1;) {
        if (id == ':' || id == '?') {
            line.options.push_back({invalid_option, describe_error(options, id, argv)});
        } else {
            line.options.push_back({id, optarg == nullptr ? "" : optarg});
        }
    }
    line.words.assign(argv + std::min(optind, argc), argv + argc);
    return line;
}

std::string option_help(std::span<const CommandOption> options) {
    std::size_t column = 0;
    for (const CommandOption& row : options) {
        column = std::max(column, help_entry(row).size() + 2);
    }
    std::string text;
    for (const CommandOption& row : options) {
        const std::string entry = help_entry(row);
        text += entry + std::string(column - entry.size(), ' ');
        for (const char letter : row.help) {
            text += letter == '\n' ? "\n" + std::string(column, ' ') : std::string(1, letter);
        }
        text += "\n";
    }
    return text;
}

std::string wrapped_names(std::string_view title, std::span<const std::string_view> names) {
    std::string text;
    std::string line(title);
    for (const std::string_view name : names) {
        if (line.size() + 1 + name.size() > help_columns) {
            text += line + "\n";
            line = " ";
        }
        line += " " + std::string(name);
    }
    return text + line + "\n";
}
