#include "tests/support/request_case.h"

#include <filesystem>
#include <numeric>
#include <ostream>

#include "tests/support/log_matchers.h"
#include "tests/support/product_tree.h"
#include "tests/support/test_files.h"

namespace fs = std::filesystem;

namespace {

std::string kind_of(const std::string& path) {
    switch (fs::symlink_status(path).type()) {
        case fs::file_type::not_found:
            return "nothing";
        case fs::file_type::regular:
            return "a file";
        case fs::file_type::directory:
            return "a folder";
        case fs::file_type::symlink:
            return "a link";
        default:
            return "something else";
    }
}

std::string name_of(FileState::Kind kind) {
    switch (kind) {
        case FileState::Kind::file:
            return "a file";
        case FileState::Kind::folder:
        case FileState::Kind::empty_folder:
            return "a folder";
        case FileState::Kind::link:
            return "a link";
        case FileState::Kind::missing:
            break;
    }
    return "nothing";
}

}  // namespace

FileState file(const std::string& path, const std::string& text) {
    return {path, FileState::Kind::file, text};
}

FileState folder(const std::string& path) {
    return {path, FileState::Kind::folder, ""};
}

FileState empty_folder(const std::string& path) {
    return {path, FileState::Kind::empty_folder, ""};
}

FileState soft_link(const std::string& path, const std::string& target) {
    return {path, FileState::Kind::link, target};
}

FileState missing(const std::string& path) {
    return {path, FileState::Kind::missing, ""};
}

void make(const FileState& state) {
    switch (state.kind) {
        case FileState::Kind::file:
            write_file(state.path, state.text);
            break;
        case FileState::Kind::folder:
        case FileState::Kind::empty_folder:
            make_folder(state.path);
            break;
        case FileState::Kind::link:
            make_link(state.text, state.path);
            break;
        case FileState::Kind::missing:
            remove_tree(state.path);
            break;
    }
}

void expect(const FileState& state) {
    ASSERT_EQ(kind_of(state.path), name_of(state.kind)) << state.path;
    if (state.kind == FileState::Kind::file) {
        EXPECT_EQ(read_file(state.path), state.text) << state.path;
    } else if (state.kind == FileState::Kind::empty_folder) {
        EXPECT_THAT(names_in(state.path), testing::IsEmpty()) << state.path;
    } else if (state.kind == FileState::Kind::link) {
        EXPECT_EQ(fs::read_symlink(state.path), state.text) << state.path;
    }
}

std::string Answer::text() const {
    return std::accumulate(lines_.begin(), lines_.end(), std::string());
}

std::ostream& operator<<(std::ostream& out, const RequestCase& row) {
    return out << row.name;
}

void prepare(const RequestCase& row) {
    make_product_tree();
    for (const FileState& state : row.before) {
        make(state);
    }
    row.prepare();
}

void check(const RequestCase& row) {
    prepare(row);
    const AgentRun run = run_agent(row.request);
    EXPECT_THAT(run.output(), IsPattern(row.answer.text()));
    EXPECT_EQ(run.status(), row.status);
    EXPECT_EQ(run.exit_status(), row.status & 0xff);
    EXPECT_THAT(run.request_log(), LogIs(row.log));
    for (const FileState& state : row.after) {
        expect(state);
    }
}
