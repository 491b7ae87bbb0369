#include "state_command/saved_state.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <optional>

#include "platform/posix.h"
#include "state_command/failure.h"
#include "state_command/log_directories.h"
#include "state_command/manifest.h"
#include "state_command/new_folder.h"
#include "state_command/sha256.h"

namespace {

// A stranger's folder may say anything, and what it says would be done by this user.
void check_owner(const std::string& path, const struct stat& state) {
    if (state.st_uid != 0 && state.st_uid != geteuid()) {
        throw Failure(path + " belongs to another user");
    }
    if ((state.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        throw Failure(path + " can be written by others");
    }
}

Descriptor open_folder(const std::string& folder) {
    Descriptor file(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat state {};
    if (!file.valid() || fstat(file.get(), &state) != 0) {
        throw system_failure(errno, "cannot open " + folder);
    }
    check_owner(folder, state);
    return file;
}

std::string read_member(int folder, const std::string& name, const std::string& shown) {
    const Descriptor file(openat(folder, name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat state {};
    if (!file.valid() || fstat(file.get(), &state) != 0) {
        throw system_failure(errno, shown + " is not a whole saved state: cannot read " + name);
    }
    if (!S_ISREG(state.st_mode)) {
        throw Failure(shown + " is not a whole saved state: " + name + " is not a file");
    }
    std::string text;
    if (!read_all(file.get(), text)) {
        throw system_failure(errno, "cannot read " + shown + "/" + name);
    }
    return text;
}

// A folder in a log root is a log directory, which a restore of an earlier state would remove.
bool would_be_log_directory(const std::string& folder) {
    const std::size_t end = folder.find_last_not_of('/');
    const std::size_t slash = folder.rfind('/', end);
    const std::string parent = slash == std::string::npos ? "." : folder.substr(0, slash + 1);
    const std::unique_ptr<char, decltype(&free)> found(realpath(parent.c_str(), nullptr), free);
    return found && is_log_directory_place(std::string(found.get()) + "/" + folder.substr(slash + 1));
}

}  // namespace

ProductState read_saved_state(const std::string& folder) {
    const Descriptor open = open_folder(folder);
    std::optional<Manifest> manifest = decode_manifest(read_member(open.get(), saved::manifest, folder));
    if (!manifest) {
        throw Failure(folder + " is not a whole saved state: its manifest is damaged");
    }
    for (const auto& [path, copy] : manifest->copies) {
        std::string& text = manifest->state.files[path].text;
        text = read_member(open.get(), saved::copies + path, folder);
        if (text.size() != copy.size || sha256(text) != copy.digest) {
            throw Failure(folder + " is not a whole saved state: the copy of " + path + " is damaged");
        }
    }
    return std::move(manifest->state);
}

void write_saved_state(const ProductState& state, const std::string& folder) {
    if (would_be_log_directory(folder)) {
        throw Failure(folder + " would be a log directory itself; save to another place");
    }
    NewFolder made(folder);
    for (const auto& [path, file] : state.files) {
        if (file.kind == FileState::Kind::file) {
            made.add_copy(saved::copies + path, file);
        }
    }
    made.add_file(saved::manifest, encode_manifest(state));
    made.finish();
}
