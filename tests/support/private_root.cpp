#include "tests/support/private_root.h"

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <string_view>
#include <system_error>

#include "platform/posix.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* host_folder = "/.host";
constexpr const char* marker = "/.private_root";
// Where the new root is mounted until it replaces the old one. Any folder that every host has works.
constexpr const char* mount_point = "/tmp";

[[noreturn]] void fail(const std::string& what, int error) {
    throw std::system_error(error, std::generic_category(), "private root: " + what);
}

void check(int result, const std::string& what) {
    if (result == -1) {
        fail(what, errno);
    }
}

void create_file(const std::string& path, std::string_view text) {
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!file.valid() || !write_all(file.get(), text)) {
        fail("write " + path, errno);
    }
}

void write_process_file(const std::string& path, std::string_view text) {
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (!file.valid() || !write_all(file.get(), text)) {
        fail("write " + path, errno);
    }
}

void become_root_of_user_namespace() {
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    check(unshare(CLONE_NEWUSER), "user namespace");
    write_process_file("/proc/self/setgroups", "deny");
    write_process_file("/proc/self/uid_map", "0 " + user + " 1");
    write_process_file("/proc/self/gid_map", "0 " + group + " 1");
}

// Root without its privileges, in a container for instance, is treated as an ordinary user.
void leave_namespaces() {
    constexpr int namespaces = CLONE_NEWNS | CLONE_NEWNET | CLONE_NEWUTS;
    if (geteuid() == 0 && unshare(namespaces) == 0) {
        return;
    }
    become_root_of_user_namespace();
    check(unshare(namespaces), "namespaces");
}

bool holds(std::initializer_list<std::string_view> names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// Links every entry of the host's folder into the new root's, except the ones that are left out. Copies a
// relative link of the host unchanged, so that /bin is still the same folder as /usr/bin.
void mirror(const std::string& folder, std::initializer_list<std::string_view> left_out) {
    const fs::path source = std::string(mount_point) + host_folder + folder;
    const fs::path target = mount_point + folder;
    for (const fs::directory_entry& entry : fs::directory_iterator(source)) {
        const std::string name = entry.path().filename();
        if (holds(left_out, name)) {
            continue;
        }
        const fs::path link = folder == "/" && entry.is_symlink() ? fs::read_symlink(entry.path()) : fs::path();
        fs::create_symlink(link.is_relative() && !link.empty() ? link : fs::path(host_folder + folder) / name,
                           target / name);
    }
}

void create_folder(const std::string& path, mode_t mode) {
    check(mkdir((mount_point + path).c_str(), mode), "create " + path);
    check(chmod((mount_point + path).c_str(), mode), "create " + path);
}

// The old root's tree, without the new root that is mounted in it. From within a private root it is the host's
// again, so that links never lead through two roots.
void bind_host() {
    const bool nested = in_private_root();
    create_folder(host_folder, 0755);
    const std::string target = std::string(mount_point) + host_folder;
    check(mount(nested ? host_folder : "/", target.c_str(), nullptr, MS_BIND | MS_REC, nullptr), "bind the old root");
    if (!nested) {
        check(umount2((target + mount_point).c_str(), MNT_DETACH), "uncover the host's folder");
    }
}

void fill_root() {
    for (const char* folder : {"/usr", "/etc", "/var", "/opt"}) {
        create_folder(folder, 0755);
    }
    create_folder("/tmp", 01777);
    create_folder("/var/tmp", 01777);
    mirror("/", {"usr", "etc", "var", "opt", "tmp", ".host", ".private_root"});
    mirror("/usr", {"kumel"});
    mirror("/etc", {"rkregistry.cfg", "hosts", "resolv.conf", "nsswitch.conf"});
    mirror("/var", {"tmp"});
    const std::string etc = std::string(mount_point) + "/etc/";
    create_file(etc + "hosts", "127.0.0.1 localhost\n::1 localhost\n");
    create_file(etc + "resolv.conf", "# no name server\n");
    create_file(etc + "nsswitch.conf", "passwd: files\ngroup: files\nservices: files\nhosts: files dns\n");
    create_file(std::string(mount_point) + marker, "");
}

// Moved, not only entered: only a process whose root is the root of its mount namespace may create user namespaces.
void enter_root() {
    check(chdir(mount_point), "enter");
    check(mount(mount_point, "/", nullptr, MS_MOVE, nullptr), "move over the old root");
    check(chroot("."), "change root");
}

void raise_loopback() {
    const Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request{};
    strcpy(request.ifr_name, "lo");
    check(ioctl(socket.get(), SIOCGIFFLAGS, &request), "loopback interface");
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    check(ioctl(socket.get(), SIOCSIFFLAGS, &request), "raise the loopback interface");
}

}  // namespace

void enter_private_root() {
    const mode_t mask = umask(022);
    const std::string folder = fs::current_path();
    leave_namespaces();
    check(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "make mounts private");
    check(mount("private_root", mount_point, "tmpfs", MS_NOSUID | MS_NODEV, "mode=755"), "mount");
    bind_host();
    fill_root();
    enter_root();
    check(chdir(inside_path(folder).c_str()), "enter " + inside_path(folder));
    check(sethostname(private_host_name, strlen(private_host_name)), "set the host name");
    raise_loopback();
    umask(mask);
}

bool in_private_root() {
    return access(marker, F_OK) == 0;
}

std::string inside_path(const std::string& host_path) {
    return host_path.starts_with(host_folder) ? host_path : host_folder + host_path;
}
