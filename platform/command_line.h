// Reads the options of a command by a table, from which the command's help is made too.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

struct CommandOption {
    int id;                     // its letter, or a number above 255 for an option without a letter
    const char* name;           // without "--"
    std::string_view argument;  // as the help names it; empty for an option without an argument
    std::string_view help;      // one or more lines

    [[nodiscard]] constexpr bool has_letter() const { return id < 256; }
    [[nodiscard]] constexpr bool takes_argument() const { return !argument.empty(); }
};

// The id of a GivenOption that is not valid.
inline constexpr int invalid_option = 0;

struct GivenOption {
    int id;
    std::string text;  // its argument; says what is wrong when the option is not valid
};

// A command line without the command's name.
struct CommandLine {
    std::vector<GivenOption> options;  // in their order
    std::vector<std::string> words;
};

// Where options end.
enum class OptionsEnd { at_first_word, at_two_dashes };

// Reads the whole command line, also after an option that is not valid. Prints nothing.
CommandLine read_command_line(std::span<const CommandOption> options, OptionsEnd end, int argc, char** argv);

// Returns the lines of the help that describe the options.
std::string option_help(std::span<const CommandOption> options);

// Returns the title and the names, separated by blanks, in lines of at most 80 columns.
std::string wrapped_names(std::string_view title, std::span<const std::string_view> names);
