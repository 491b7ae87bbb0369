#include "state_command/options.h"

#include <getopt.h>

#include <algorithm>
#include <array>

namespace {

// Those without a letter.
enum LongOption : int { all_option = 256, json_option, force_option, remove_logs_option };

constexpr std::array long_options = {
    option{"all", no_argument, nullptr, all_option},
    option{"json", no_argument, nullptr, json_option},
    option{"force", no_argument, nullptr, force_option},
    option{"remove-logs", no_argument, nullptr, remove_logs_option},
    option{"help", no_argument, nullptr, 'h'},
    option{"version", no_argument, nullptr, 'V'},
    option{nullptr, 0, nullptr, 0},
};

struct Command {
    std::string_view name;
    Action action;
};

constexpr std::array commands = {
    Command{"show", Action::show},
    Command{"save", Action::save},
    Command{"diff", Action::diff},
    Command{"restore", Action::restore},
};

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

}  // namespace

Options parse_options(int argc, char** argv) {
    Options options;
    for (int letter = 0; (letter = getopt_long(argc, argv, "hV", long_options.data(), nullptr)) != -1;) {
        switch (letter) {
            case all_option:
                options.all = true;
                break;
            case json_option:
                options.json = true;
                break;
            case force_option:
                options.force = true;
                break;
            case remove_logs_option:
                options.remove_logs = true;
                break;
            case 'h':
                options.action = Action::show_help;
                return options;
            case 'V':
                options.action = Action::show_version;
                return options;
            default:
                refuse("the options are not valid");
        }
    }
    take_words({argv + std::min(optind, argc), argv + argc}, options);
    check_options(options);
    return options;
}

const std::string_view help_text =
    R"(Usage: zmlogstate show [--all] [--json] [CATEGORY ...]
       zmlogstate save DIR
       zmlogstate diff DIR
       zmlogstate restore [--force] [--remove-logs] DIR
Shows, saves and restores what the logging requests of zmlogadm change on this
host.

  show     print the settings that are active, CATEGORY:NAME=VALUE FILE a line
  save     copy every file with such settings into DIR, which is made
  diff     print what differs from what was saved in DIR
  restore  put back what differs from what was saved in DIR

      --all          with show: also what is known and not set
      --json         with show: print JSON, one object a line
      --force        with restore: also what was saved on another host
      --remove-logs  with restore: remove log directories that were made since
                     with what they hold; without it only empty ones
  -h, --help         print this help
  -V, --version      print the version

Categories: ZMKTUL QPKTUL SEARCHKTUL ZMLOGDIR MMLOGDIR QRCONF RK RKPLUGIN KOB
  CORVID CLOUD JAVAGUI HOLKAZ VMCONF

The exit status is 0; 1 when diff finds a difference or restore leaves one; 2
when a file could not be read, now or at the save; 255 when the arguments are
not valid or nothing could be done.
)";
