#include "state_command/file_state.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>

#include "platform/library/trusted_folder.h"
#include "platform/posix.h"

namespace {

FileState unread(int error) {
    FileState state;
    // The file is also missing if its folder is missing or is not a folder.
    state.kind = error == ENOENT || error == ENOTDIR ? FileState::Kind::missing : FileState::Kind::unread;
    state.error = error;
    return state;
}

FileState read_link(const Descriptor& folder, const std::string& name) {
    std::array<char, PATH_MAX> target;
    const ssize_t size = readlinkat(folder.get(), name.c_str(), target.data(), target.size());
    if (size < 0) {
        return unread(errno);
    }
    FileState state;
    state.kind = FileState::Kind::link;
    state.is_trusted = platform_library::is_trusted(folder);
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
    return read_all(file, state.text, most_bytes_of_file) ? state : unread(errno);
}

}  // namespace

FileState read_file_state(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const Descriptor folder = platform_library::open_folder(path.substr(0, slash + 1)).descriptor;
    const std::string name = slash + 1 == path.size() ? "." : path.substr(slash + 1);
    struct stat found {};
    if (!folder.valid() || fstatat(folder.get(), name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0) {
        return unread(errno);
    }
    if (S_ISLNK(found.st_mode)) {
        return read_link(folder, name);
    }
    // Non-blocking: if the name is a FIFO, opening it must not wait for another process.
    constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    const Descriptor file(openat(folder.get(), name.c_str(), flags));
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
