#include "tests/request_command/command_run.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>

#include "tests/request_command/json_lines.h"
#include "tests/support/test_files.h"
#include "tests/support/tested_program.h"

namespace {

void check(ssize_t result, const std::string& what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

struct Pipe {
    Descriptor reading;
    Descriptor writing;
};

Pipe make_pipe() {
    std::array<int, 2> ends{};
    check(pipe2(ends.data(), O_CLOEXEC), "pipe");
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

void open_as(int fd, const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC));
    check(file.get(), path);
    check(dup2(file.get(), fd), "dup2");
}

// Appends what there is to read. Closes the descriptor at the end.
void read_some(Descriptor& from, std::string& text) {
    std::array<char, 65536> buffer;
    const ssize_t count = read(from.get(), buffer.data(), buffer.size());
    check(count, "read from the command");
    text.append(buffer.data(), static_cast<std::size_t>(count));
    if (count == 0) {
        from.reset();
    }
}

[[noreturn]] void become_command(Arguments& arguments, const Preparation& prepare) {
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    if (prepare) {
        prepare();
    }
    execv(pointers[0], pointers.data());
    throw std::system_error(errno, std::generic_category(), arguments[0]);
}

}  // namespace

Preparation without_descriptors(const std::vector<int>& closed) {
    return [closed] {
        for (const int fd : closed) {
            close(fd);
        }
    };
}

Preparation with_output_to(const std::string& path) {
    return [path] { open_as(STDOUT_FILENO, path); };
}

Preparation as_user(uid_t user) {
    return [user] {
        const std::string outside = std::to_string(geteuid());
        check(unshare(CLONE_NEWUSER), "user namespace");
        write_file("/proc/self/uid_map", std::to_string(user) + " " + outside + " 1");
    };
}

Command::Command(const Arguments& arguments, const Preparation& prepare) {
    Arguments command_line = Arguments{tested_program(ZMLA_COMMAND_FILE)} + arguments;
    Pipe output = make_pipe();
    Pipe errors = make_pipe();
    process_ = fork();
    check(process_, "fork");
    if (process_ == 0) {
        try {
            open_as(STDIN_FILENO, "/dev/null");
            check(dup2(output.writing.get(), STDOUT_FILENO), "dup2");
            check(dup2(errors.writing.get(), STDERR_FILENO), "dup2");
            become_command(command_line, prepare);
        } catch (const std::exception& failure) {
            write_all(STDERR_FILENO, failure.what());
            _exit(127);
        }
    }
    output_ = std::move(output.reading);
    errors_ = std::move(errors.reading);
}

Command::~Command() {
    if (process_ != -1) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
}

PeerConnection Command::await_connection(const PeerListener& listener) {
    const Descriptor end(static_cast<int>(syscall(SYS_pidfd_open, process_, 0)));
    check(end.get(), "watch the command");
    std::array<pollfd, 2> entries = {pollfd{.fd = listener.get(), .events = POLLIN, .revents = 0},
                                     pollfd{.fd = end.get(), .events = POLLIN, .revents = 0}};
    check(poll(entries.data(), entries.size(), -1), "poll");
    if (entries[0].revents == 0) {
        throw std::runtime_error("the command has not connected: " + finish().errors);
    }
    return listener.accept();
}

void Command::receive_some() {
    std::array<pollfd, 2> entries = {pollfd{.fd = output_.get(), .events = POLLIN, .revents = 0},
                                     pollfd{.fd = errors_.get(), .events = POLLIN, .revents = 0}};
    check(poll(entries.data(), entries.size(), -1), "poll");
    if (entries[0].revents != 0) {
        read_some(output_, run_.output);
    }
    if (entries[1].revents != 0) {
        read_some(errors_, run_.errors);
    }
}

void Command::await_output(std::string_view text) {
    while (run_.output.find(text) == std::string::npos) {
        if (!output_.valid()) {
            throw std::runtime_error("the command has ended its output: " + run_.output + run_.errors);
        }
        receive_some();
    }
}

CommandRun Command::finish() {
    while (output_.valid() || errors_.valid()) {
        receive_some();
    }
    int status = 0;
    check(waitpid(process_, &status, 0), "wait");
    process_ = -1;
    keep_objects(run_.output);
    run_.exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run_;
}

CommandRun run_command(const Arguments& arguments, const Preparation& prepare) {
    return Command(arguments, prepare).finish();
}

Arguments operator+(Arguments arguments, const Arguments& more) {
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}
