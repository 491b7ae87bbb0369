#include "state_command/differences.h"

#include "state_command/failure.h"
#include "state_command/unified_diff.h"

namespace {

std::string owner_text(const FileState& state) {
    return std::to_string(state.owner) + ":" + std::to_string(state.group);
}

std::string kind_text(const FileState& state) {
    switch (state.kind) {
        case FileState::Kind::missing:
            return "missing";
        case FileState::Kind::link:
            return "a link to " + state.text;
        case FileState::Kind::file:
        case FileState::Kind::unread:
            break;
    }
    return "a file";
}

bool is_file(const FileState& state) {
    return state.kind == FileState::Kind::file;
}

void describe_attributes(const FileDifference& difference, std::vector<std::string>& phrases) {
    for (const auto& [name, value] : difference.saved.attributes) {
        const auto now = difference.now.attributes.find(name);
        if (now == difference.now.attributes.end()) {
            phrases.push_back("attribute " + name + " gone");
        } else if (now->second != value) {
            phrases.push_back("attribute " + name + " changed");
        }
    }
    for (const auto& [name, value] : difference.now.attributes) {
        if (difference.saved.attributes.count(name) == 0) {
            phrases.push_back("attribute " + name + " new");
        }
    }
}

void compare_file(const std::string& path, const FileState& saved, Differences& differences) {
    if (saved.kind == FileState::Kind::unread) {
        add_problem(differences.problems, {path, saved.error, Problem::When::at_save});
        return;
    }
    FileState now = read_file_state(path);
    if (now.kind == FileState::Kind::unread) {
        add_problem(differences.problems, {path, now.error});
    } else if (!is_same(saved, now)) {
        differences.files.push_back({path, saved, std::move(now)});
    }
}

// Appends the log directories of one state that are missing in the other one. Leaves out those that the other state
// does not know about, because a directory could not be read.
void append_missing(const ProductState& of, const ProductState& from, std::vector<LogDirectory>& found) {
    for (const auto& [path, directory] : of.log_directories) {
        if (from.log_directories.count(path) == 0 && !is_unread(from, path)) {
            found.push_back(directory);
        }
    }
}

bool is_text(const std::string& text) {
    return text.find('\0') == std::string::npos;
}

void print_content(const FileDifference& difference) {
    const std::string& path = difference.path;
    if (!is_text(difference.saved.text) || !is_text(difference.now.text)) {
        print_line(path + ": content is not text, and differs (" + std::to_string(difference.saved.text.size()) +
                   " bytes, now " + std::to_string(difference.now.text.size()) + ")");
        return;
    }
    print_line("--- " + path + " (saved)");
    print_line("+++ " + path + " (now)");
    for (const std::string& line : unified_diff(difference.saved.text, difference.now.text)) {
        print_line(line);
    }
}

void print_file(const FileDifference& difference) {
    for (const std::string& phrase : describe(difference)) {
        if (phrase == "content") {
            print_content(difference);
        } else {
            print_line(difference.path + ": " + phrase);
        }
    }
}

}  // namespace

Differences find_differences(const ProductState& saved) {
    Differences differences;
    for (const auto& [path, state] : saved.files) {
        compare_file(path, state, differences);
    }
    ProductState now;
    read_log_directories(now, differences.problems);
    for (const auto& [path, error] : saved.unread_directories) {
        add_problem(differences.problems, {path, error, Problem::When::at_save});
    }
    append_missing(now, saved, differences.made);
    append_missing(saved, now, differences.gone);
    return differences;
}

std::vector<std::string> describe(const FileDifference& difference) {
    const FileState& saved = difference.saved;
    const FileState& now = difference.now;
    if (!is_file(saved) || !is_file(now)) {
        return {kind_text(saved) + ", now " + kind_text(now)};
    }
    std::vector<std::string> phrases;
    if (saved.text != now.text) {
        phrases.emplace_back("content");
    }
    if (saved.mode != now.mode) {
        phrases.push_back("mode " + mode_text(saved.mode) + ", now " + mode_text(now.mode));
    }
    if (saved.owner != now.owner || saved.group != now.group) {
        phrases.push_back("owner " + owner_text(saved) + ", now " + owner_text(now));
    }
    describe_attributes(difference, phrases);
    return phrases;
}

int print_differences(const ProductState& saved) {
    const Differences differences = find_differences(saved);
    for (const FileDifference& difference : differences.files) {
        print_file(difference);
    }
    for (const LogDirectory& directory : differences.made) {
        print_line(directory.path + ": log directory made since");
    }
    for (const LogDirectory& directory : differences.gone) {
        print_line(directory.path + ": log directory gone since");
    }
    complain_of(differences.problems);
    if (!differences.problems.empty()) {
        return exit_status::not_read;
    }
    return differences.empty() ? exit_status::nothing_differs : exit_status::differs;
}
