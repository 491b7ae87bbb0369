// The options and commands of zmlogstate.
#pragma once

#include <array>

#include "platform/command_line.h"

namespace state_option {

inline constexpr int all_settings = 256;
inline constexpr int json = 257;
inline constexpr int force = 258;
inline constexpr int remove_logs = 259;
inline constexpr int help = 'h';
inline constexpr int version = 'V';

inline constexpr std::array all = {
    CommandOption{all_settings, "all", "", "with show: also what is known and not set"},
    CommandOption{json, "json", "", "with show: print JSON, one object a line"},
    CommandOption{force, "force", "", "with restore: also what was saved on another host"},
    CommandOption{remove_logs, "remove-logs", "",
                  "with restore: remove log directories that were made since\n"
                  "with what they hold; without it only empty ones"},
    CommandOption{help, "help", "", "print this help"},
    CommandOption{version, "version", "", "print the version"},
};

}  // namespace state_option

struct StateCommand {
    std::string_view name;
    std::string_view help;
};

inline constexpr StateCommand show_command = {"show",
                                              "print the settings that are active, CATEGORY:NAME=VALUE FILE a line"};
inline constexpr StateCommand save_command = {"save", "copy every file with such settings into DIR, which is made"};
inline constexpr StateCommand diff_command = {"diff", "print what differs from what was saved in DIR"};
inline constexpr StateCommand restore_command = {"restore", "put back what differs from what was saved in DIR"};

inline constexpr std::array state_commands = {show_command, save_command, diff_command, restore_command};
