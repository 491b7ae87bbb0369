// zmlogstate: shows, saves and restores what the logging requests change on this host.
#include <sys/stat.h>

#include <csignal>
#include <exception>
#include <string>

#include "platform/standard_streams.h"
#include "state_command/differences.h"
#include "state_command/failure.h"
#include "state_command/host.h"
#include "state_command/json_lines.h"
#include "state_command/options.h"
#include "state_command/output.h"
#include "state_command/restore.h"
#include "state_command/saved_state.h"
#include "state_command/show.h"

namespace {

int save(const std::string& folder) {
    Problems problems;
    const ProductState state = read_product_state(problems);
    complain_of(problems);
    write_saved_state(state, folder);
    return problems.empty() ? exit_status::nothing_differs : exit_status::not_read;
}

int restore_from(const Options& options) {
    const ProductState saved = read_saved_state(options.folder);
    const std::string host = host_name();
    if (saved.host != host && !options.force) {
        throw Failure(options.folder + " was saved on the host " + saved.host + ", and this is " + host +
                      "; --force restores it all the same");
    }
    return restore(saved, {.remove_logs = options.remove_logs});
}

int carry_out(const Options& options) {
    switch (options.action) {
        case Action::show:
            return show({.categories = options.categories, .all = options.all, .json = options.json});
        case Action::save:
            return save(options.folder);
        case Action::diff:
            return print_differences(read_saved_state(options.folder));
        case Action::restore:
            return restore_from(options);
        case Action::show_help:
            print_text(help_text());
            return 0;
        case Action::show_version:
            print_line("zmlogstate " ZMLOGSTATE_VERSION);
            return 0;
    }
    return exit_status::failed;
}

}  // namespace

int main(int argc, char** argv) {
    signal(SIGPIPE, SIG_IGN);  // a write to a closed pipe is then an error
    signal(SIGXFSZ, SIG_IGN);  // and so is a write beyond the file size limit
    umask(S_IRWXG | S_IRWXO);
    try {
        occupy_standard_descriptors();
        const int status = carry_out(parse_options(argc, argv));
        finish_output();
        return status;
    } catch (const std::exception& failure) {
        if (wants_json(argc, argv)) {
            print_json_failure(failure.what());
        }
        complain(failure.what());
        return exit_status::failed;
    }
}
