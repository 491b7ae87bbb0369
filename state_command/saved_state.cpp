#include "state_command/saved_state.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <optional>

#include "platform/library/trusted_folder.h"
#include "platform/posix.h"
#include "state_command/failure.h"
#include "state_command/host_log_directories.h"
#include "state_command/manifest.h"
#include "state_command/new_folder.h"
#include "state_command/sha256.h"

namespace {

// A restore does as root what the folder and its manifest say, so no other user may be able to write them.
void check_owner(const std::string& path, const struct stat& state) {
    if (!platform_library::is_trusted(state)) {
        const bool has_owner = state.st_uid == 0 || state.st_uid == geteuid();
        throw Failure(path + (has_owner ? " can be written by others" : " belongs to another user"));
    }
}

Descriptor open_saved(const std::string& folder) {
    Descriptor file(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat state {};
    if (!file.valid() || fstat(file.get(), &state) != 0) {
        throw system_failure(errno, "cannot open " + folder);
    }
    check_owner(folder, state);
    return file;
}

// A member of a saved state.
struct Member {
    std::string text;
    struct stat state {};
};

Member read_member(int folder, const std::string& name, const std::string& shown) {
    const Descriptor file(openat(folder, name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    Member member;
    if (!file.valid() || fstat(file.get(), &member.state) != 0) {
        throw system_failure(errno, shown + " is not a whole saved state: cannot read " + name);
    }
    if (!S_ISREG(member.state.st_mode)) {
        throw Failure(shown + " is not a whole saved state: " + name + " is not a file");
    }
    if (!read_all(file.get(), member.text, most_bytes_of_file)) {
        throw system_failure(errno, "cannot read " + shown + "/" + name);
    }
    return member;
}

std::string read_manifest(int folder, const std::string& shown) {
    Member manifest = read_member(folder, saved::manifest, shown);
    check_owner(shown + "/" + saved::manifest, manifest.state);
    return std::move(manifest.text);
}

// Returns whether the new folder would be a log directory. A restore of an earlier state would remove it.
bool would_be_log_directory(const std::string& folder) {
    const std::size_t end = folder.find_last_not_of('/');
    const std::size_t slash = folder.rfind('/', end);
    const std::string parent = slash == std::string::npos ? "." : folder.substr(0, slash + 1);
    const std::unique_ptr<char, decltype(&free)> found(realpath(parent.c_str(), nullptr), free);
    return found && is_log_directory_place(std::string(found.get()) + "/" + folder.substr(slash + 1));
}

}  // namespace

ProductState read_saved_state(const std::string& folder) {
    const Descriptor open = open_saved(folder);
    std::optional<Manifest> manifest = decode_manifest(read_manifest(open.get(), folder));
    if (!manifest) {
        throw Failure(folder + " is not a whole saved state: its manifest is damaged");
    }
    for (const auto& [path, copy] : manifest->copies) {
        std::string& text = manifest->state.files[path].text;
        text = read_member(open.get(), saved::copies + path, folder).text;
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
