#include "state_command/new_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <string_view>

#include "platform/runtime.h"
#include "state_command/failure.h"
#include "state_command/tree.h"

namespace {

constexpr mode_t folder_mode = 0700;
constexpr mode_t file_mode = 0600;

void check(int result, const std::string& what) {
    if (result != 0) {
        throw system_failure(errno, what);
    }
}

Descriptor open_folder(int parent, const std::string& name, const std::string& shown) {
    Descriptor folder(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    check(folder.valid() ? 0 : -1, "cannot open " + shown);
    return folder;
}

Descriptor make_file(int folder, const std::string& name, const std::string& text) {
    Descriptor file(openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, file_mode));
    check(file.valid() && write_all(file.get(), text) ? 0 : -1, "cannot write " + name);
    return file;
}

void flush(const Descriptor& file, const std::string& name) {
    check(fsync(file.get()), "cannot flush " + name);
}

void make_parents(int folder, const std::string& name) {
    for (std::size_t slash = name.find('/'); slash != std::string::npos; slash = name.find('/', slash + 1)) {
        const std::string parent = name.substr(0, slash);
        check(mkdirat(folder, parent.c_str(), folder_mode) == 0 || errno == EEXIST ? 0 : -1, "cannot make " + parent);
    }
}

// Ignores failures, because the manifest has the owner, the mode and the attributes too.
void give_state(int file, const FileState& state) {
    static_cast<void>(fchown(file, state.owner, state.group) == 0);
    for (const auto& [name, value] : state.attributes) {
        static_cast<void>(platform_library::give_extended_attributes({{name, value}}, file));
    }
    static_cast<void>(fchmod(file, state.mode));
    const std::array<timespec, 2> times = {state.accessed, state.modified};
    static_cast<void>(futimens(file, times.data()));
}

// Flushes the folder and all folders below it.
void flush_folders(const Descriptor& folder, const std::string& name) {
    const FolderNames below = list_folders(folder.get());
    if (below.error != 0) {
        throw system_failure(below.error, "cannot read " + name);
    }
    for (const std::string& entry : below.names) {
        flush_folders(open_folder(folder.get(), entry, entry), entry);
    }
    flush(folder, name);
}

std::string without_last_slashes(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    return path;
}

}  // namespace

NewFolder::NewFolder(const std::string& path) : path_(without_last_slashes(path)) {
    const std::size_t slash = path_.rfind('/');
    name_ = path_.substr(slash + 1);
    const std::string parent = slash == std::string::npos ? "." : path_.substr(0, slash + 1);
    parent_ = open_folder(AT_FDCWD, parent, parent);
    struct stat state {};
    if (fstatat(parent_.get(), name_.empty() ? "." : name_.c_str(), &state, AT_SYMLINK_NOFOLLOW) == 0) {
        throw Failure(path + " exists");
    }
    temporary_path_ = temporary_name(parent, ".zmlogstate");
    temporary_name_ = temporary_path_.substr(temporary_path_.rfind('/') + 1);
    folder_ = make_folder_at(parent_.get(), temporary_name_);
    check(folder_.valid() ? 0 : -1, "cannot make a folder in " + parent);
}

NewFolder::~NewFolder() {
    if (!temporary_name_.empty()) {
        static_cast<void>(remove_contents(folder_.get()));
        unlinkat(parent_.get(), temporary_name_.c_str(), AT_REMOVEDIR);
    }
}

void NewFolder::add_file(const std::string& name, const std::string& text) {
    flush(make_file(folder_.get(), name, text), name);
}

void NewFolder::add_copy(const std::string& name, const FileState& state) {
    make_parents(folder_.get(), name);
    const Descriptor file = make_file(folder_.get(), name, state.text);
    give_state(file.get(), state);
    flush(file, name);
}

void NewFolder::finish() {
    flush_folders(folder_, temporary_name_);
    if (const int error = rename_to_new_at(parent_.get(), temporary_name_, name_)) {
        throw error == EEXIST ? Failure(path_ + " exists")
                              : system_failure(error, "cannot name the new folder " + path_);
    }
    temporary_name_.clear();
    check(fsync(parent_.get()), path_ + " has been made, but cannot be flushed to the disk");
}
