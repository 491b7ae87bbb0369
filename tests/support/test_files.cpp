#include "tests/support/test_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/posix.h"

namespace fs = std::filesystem;

namespace {

void check(bool done, const std::string& what) {
    if (!done) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

}  // namespace

void write_file(const std::string& path, const std::string& text) {
    make_folder(fs::path(path).parent_path());
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    check(file.valid() && write_all(file.get(), text), path);
}

void write_tool(const std::string& path, const std::string& commands) {
    write_file(path, "#!/bin/sh\n" + commands);
    set_mode(path, 0755);
}

std::string read_file(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    check(file.valid() && read_all(file.get(), text), path);
    return text;
}

bool exists(const std::string& path) {
    return fs::exists(fs::symlink_status(path));
}

void make_folder(const std::string& path) {
    fs::create_directories(path);
}

void make_link(const std::string& target, const std::string& path) {
    fs::create_symlink(target, path);
}

std::vector<std::string> names_in(const std::string& folder) {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

struct stat state_of(const std::string& path) {
    struct stat state {};
    check(lstat(path.c_str(), &state) == 0, path);
    return state;
}

unsigned mode_of(const std::string& path) {
    return static_cast<unsigned>(fs::status(path).permissions());
}

void set_mode(const std::string& path, unsigned mode) {
    check(chmod(path.c_str(), mode) == 0, path);
}

void remove_tree(const std::string& path) {
    fs::remove_all(path);
}

bool namespace_has_several_users() {
    const std::string map = read_file("/proc/self/uid_map");
    return std::stoul(map.substr(map.find_last_of(' '))) > 1;
}

ScratchFolder::ScratchFolder() : path_("/tmp/scratch-XXXXXX") {
    check(mkdtemp(path_.data()) != nullptr, path_);
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string ScratchFolder::path(const std::string& name) const {
    return name.empty() ? path_ : path_ + "/" + name;
}
