#include "state_command/file_state.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>

#include "platform/posix.h"

namespace {

FileState unread(int error) {
    FileState state;
    // A folder of the path that is missing, or that is none, has no file.
    state.kind = error == ENOENT || error == ENOTDIR ? FileState::Kind::missing : FileState::Kind::unread;
    state.error = error;
    return state;
}

FileState read_link(const std::string& path) {
    std::array<char, PATH_MAX> target;
    const ssize_t size = readlink(path.c_str(), target.data(), target.size());
    if (size < 0) {
        return unread(errno);
    }
    FileState state;
    state.kind = FileState::Kind::link;
    state.text.assign(target.data(), static_cast<std::size_t>(size));
    return state;
}

FileState read_open_file(int file) {
    struct stat found {};
    if (fstat(file, &found) != 0) {
        return unread(errno);
    }
    if (!S_ISREG(found.st_mode)) {
        return unread(S_ISDIR(found.st_mode) ? EISDIR : EINVAL);
    }
    FileState state;
    state.kind = FileState::Kind::file;
    state.mode = found.st_mode & ALLPERMS;
    state.owner = found.st_uid;
    state.group = found.st_gid;
    state.accessed = found.st_atim;
    state.modified = found.st_mtim;
    if (const int error = platform_library::read_extended_attributes(file, state.attributes)) {
        return unread(error);
    }
    return read_all(file, state.text) ? state : unread(errno);
}

}  // namespace

FileState read_file_state(const std::string& path) {
    struct stat found {};
    if (lstat(path.c_str(), &found) != 0) {
        return unread(errno);
    }
    if (S_ISLNK(found.st_mode)) {
        return read_link(path);
    }
    // Non-blocking: whatever has the name, opening it must not wait for another process.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    return file.valid() ? read_open_file(file.get()) : unread(errno);
}

std::string mode_text(mode_t mode) {
    std::array<char, 16> text;
    snprintf(text.data(), text.size(), "%04o", mode & ALLPERMS);
    return text.data();
}

bool is_same(const FileState& one, const FileState& other) {
    return one.kind == other.kind && one.text == other.text && one.mode == other.mode && one.owner == other.owner &&
           one.group == other.group && one.attributes == other.attributes;
}
