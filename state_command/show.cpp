#include "state_command/show.h"

#include <optional>

#include "state_command/failure.h"
#include "state_command/json_lines.h"
#include "state_command/output.h"
#include "state_command/settings_in_force.h"

namespace {

std::string line_of(const Setting& setting) {
    if (!setting.request.empty()) {
        return setting.request + " " + setting.file;
    }
    const std::string label = setting.category + ":" + setting.name;
    if (!setting.is_known) {
        return label + "=? " + setting.file + " (not known: only the tool knows)";
    }
    return label + "=" + setting.value.value_or("-") + " " + setting.file;
}

}  // namespace

int show(const ShowOptions& options) {
    for (const std::string& name : options.categories) {
        if (!is_category(name)) {
            throw Failure("there is no category \"" + name + "\" (see zmlogstate --help)");
        }
    }
    Problems problems;
    const std::vector<Setting> settings = read_settings(options.categories, problems);
    if (options.json) {
        print_json_header();
    }
    for (const Setting& setting : settings) {
        if (setting.value || options.all) {
            options.json ? print_json(setting) : print_line(line_of(setting));
        }
    }
    complain_of(problems);
    for (const Problem& problem : problems) {
        if (options.json) {
            print_json(problem);
        }
    }
    return problems.empty() ? exit_status::nothing_differs : exit_status::not_read;
}
