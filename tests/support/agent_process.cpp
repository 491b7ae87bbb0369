#include "tests/support/agent_process.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <system_error>

#include "tests/support/tested_program.h"

namespace {

// A report of a sanitizer ends a program with a status that no test expects. There is no leak check when
// processes or descriptors fail, because it needs both.
std::vector<std::string> environment_of(const AgentOptions& options) {
    std::vector<std::string> environment = options.environment;
    const bool is_restricted = options.descriptor_limit.has_value() || !options.refused_calls.empty();
    environment.push_back("ASAN_OPTIONS=exitcode=99:log_path=/tmp/sanitizer:detect_leaks=" +
                          std::string(is_restricted ? "0" : "1"));
    environment.emplace_back("UBSAN_OPTIONS=exitcode=99:log_path=/tmp/sanitizer:print_stacktrace=1");
    environment.emplace_back("LSAN_OPTIONS=exitcode=99");
    return environment;
}

// Pointers for exec, which does not change what they point to.
std::vector<char*> pointers_to(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// The steps below run in the child. They throw, and the child reports the error to the parent.
void check(int result, const char* what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

void write_process_file(const char* path, const std::string& text) {
    const Descriptor file(open(path, O_WRONLY | O_CLOEXEC));
    if (!file.valid() || !write_all(file.get(), text)) {
        throw std::system_error(errno, std::generic_category(), path);
    }
}

// In a user namespace, gives this process's user, root of the private root, that number. The peer is the same user.
void become_user(uid_t user) {
    const std::string inside = std::to_string(user);
    const std::string outside = std::to_string(geteuid());
    const std::string outside_group = std::to_string(getegid());
    check(unshare(CLONE_NEWUSER), "user namespace");
    write_process_file("/proc/self/setgroups", "deny");
    write_process_file("/proc/self/uid_map", inside + " " + outside + " 1");
    write_process_file("/proc/self/gid_map", inside + " " + outside_group + " 1");
}

constexpr unsigned offset_of_argument(unsigned argument) {
    constexpr unsigned first = offsetof(seccomp_data, args);
    constexpr unsigned size = sizeof(__u64);
    return first + argument * size;
}

void refuse(const RefusedCall& call) {
    const auto error = static_cast<unsigned>(call.error);
    std::vector<sock_filter> filter = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call.number), 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    if (call.value.has_value()) {
        filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offset_of_argument(call.argument)));
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, *call.value, 1, 0));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error));
    const sock_fprog program = {.len = static_cast<unsigned short>(filter.size()), .filter = filter.data()};
    check(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), "no new privileges");
    check(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), "system call filter");
}

// The agent gets descriptors 0 to 2 and the extra ones, and no other of the test.
void arrange_descriptors(int socket, const AgentOptions& options) {
    check(dup2(socket, STDIN_FILENO), "dup2");
    const Descriptor null(open("/dev/null", O_RDWR | O_CLOEXEC));
    check(dup2(null.get(), STDOUT_FILENO), "dup2");
    check(dup2(null.get(), STDERR_FILENO), "dup2");
    check(close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC), "close_range");
    for (const int fd : options.extra_descriptors) {
        check(dup2(null.get(), fd), "dup2");
    }
    for (const int fd : options.closed) {
        close(fd);
    }
}

// In a mount namespace of this process's own.
void empty_folder(const std::string& folder) {
    check(unshare(CLONE_NEWNS), "mount namespace");
    check(mount("none", folder.c_str(), "tmpfs", 0, nullptr), "empty a folder");
}

// For this process and its children.
void limit(__rlimit_resource resource, std::optional<rlim_t> most) {
    if (most.has_value()) {
        const rlimit value = {.rlim_cur = *most, .rlim_max = *most};
        check(setrlimit(resource, &value), "limit");
    }
}

[[noreturn]] void become_agent(int socket, const AgentOptions& options) {
    std::vector<std::string> environment = environment_of(options);
    std::vector<std::string> arguments = {tested_program(ZMLA_AGENT_FILE)};
    const std::vector<char*> environment_pointers = pointers_to(environment);
    const std::vector<char*> argument_pointers = pointers_to(arguments);
    if (options.user != 0) {
        become_user(options.user);
    }
    if (!options.emptied_folder.empty()) {
        empty_folder(options.emptied_folder);
    }
    check(chdir(options.working_folder.c_str()), "change the working folder");
    umask(options.creation_mask);
    for (const int number : options.ignored_signals) {
        signal(number, SIG_IGN);
    }
    arrange_descriptors(socket, options);
    limit(RLIMIT_NOFILE, options.descriptor_limit);
    limit(RLIMIT_FSIZE, options.file_size_limit);
    std::for_each(options.refused_calls.begin(), options.refused_calls.end(), refuse);
    execve(argument_pointers[0], argument_pointers.data(), environment_pointers.data());
    throw std::system_error(errno, std::generic_category(), arguments[0]);
}

// Returns why the child could not execute the agent; empty when it did.
std::string reason_of_failure(int fd) {
    std::string reason;
    if (!read_all(fd, reason)) {
        throw std::system_error(errno, std::generic_category(), "start of the agent");
    }
    return reason;
}

}  // namespace

pid_t start_agent(int socket, const AgentOptions& options) {
    int ends[2] = {-1, -1};
    check(pipe2(ends, O_CLOEXEC), "pipe");
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    const pid_t child = fork();
    check(child, "fork");
    if (child == 0) {
        // Above the descriptors that the agent gets.
        constexpr int far_number = 200;
        const int report = fcntl(writing.get(), F_DUPFD_CLOEXEC, far_number);
        try {
            become_agent(socket, options);
        } catch (const std::exception& failure) {
            write_all(report, failure.what());
            _exit(1);
        }
    }
    writing.reset();
    const std::string reason = reason_of_failure(reading.get());
    if (!reason.empty()) {
        waitpid(child, nullptr, 0);
        throw std::runtime_error("the agent could not be started: " + reason);
    }
    return child;
}
