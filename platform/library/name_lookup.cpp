#include "platform/library/name_lookup.h"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <memory>
#include <optional>
#include <utility>

#include "platform/child.h"
#include "platform/posix.h"

namespace platform_library {

namespace {

using Names = std::vector<std::string>;

// Gives the child its own process group, signals and environment, and lets it end with the caller.
void leave_caller() {
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (int number = 1; number < NSIG; ++number) {
        signal(number, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    static char path[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
    static char locale[] = "LC_ALL=C";
    static std::array<char*, 3> environment = {path, locale, nullptr};
    environ = environment.data();
}

// Makes the descriptor standard output and /dev/null the other two standard streams. Closes all other descriptors, the
// caller's connection among them. Returns whether that worked.
bool set_streams(int output) {
    // Where the caller has closed standard descriptors, the output or /dev/null may have one of their numbers.
    const int copy = fcntl(output, F_DUPFD, STDERR_FILENO + 1);
    const int null = open("/dev/null", O_RDWR | O_NOCTTY);
    const bool done = copy != -1 && null != -1 && dup2(null, STDIN_FILENO) != -1 && dup2(null, STDERR_FILENO) != -1 &&
                      dup2(copy, STDOUT_FILENO) != -1;
    closefrom(STDERR_FILENO + 1);
    return done;
}

// Returns only when the program cannot be run.
void become_getent(std::string name) {
    static char program[] = "getent";
    static char database[] = "ahosts";
    static char end_of_options[] = "--";
    const std::array<char*, 5> arguments = {program, database, end_of_options, name.data(), nullptr};
    for (const char* file : {"/usr/bin/getent", "/bin/getent"}) {
        execv(file, arguments.data());
    }
}

// Prints the addresses that this program's C library finds, one a line.
void print_addresses(const std::string& name) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    if (getaddrinfo(name.c_str(), nullptr, &hints, &list) != 0) {
        return;
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(list, freeaddrinfo);
    for (const addrinfo* item = list; item != nullptr; item = item->ai_next) {
        const Address address = address_of(item->ai_addr);
        std::string line = to_text(address);
        if (address.scope != 0) {
            line += '%';
            line += std::to_string(address.scope);
        }
        write_all(STDOUT_FILENO, line += '\n');
    }
}

// noexcept: an exception must end the child, so that it does not return and become a second caller.
[[noreturn]] void print_answer(const std::string& name, int output) noexcept {
    leave_caller();
    if (set_streams(output)) {
        become_getent(name);
        print_addresses(name);
    }
    _exit(0);
}

// Finds the addresses at the starts of lines. Ignores other lines, and a last line without newline, whose address may
// be cut.
class AddressLines {
  public:
    explicit AddressLines(const AddressTest& test) : test_(test) {}

    // Takes the next piece of the text. Returns whether an address passed the test.
    bool take(std::string_view piece) {
        for (const char byte : piece) {
            if (byte == '\n') {
                const auto address = parse_address(line_.substr(0, line_.find(' ')));
                if (address && test_(*address)) {
                    return true;
                }
                line_.clear();
            } else if (line_.size() < longest_start) {
                line_ += byte;
            }
        }
        return false;
    }

  private:
    // Longer than any address with its interface. The rest of a line is not needed.
    static constexpr std::size_t longest_start = 128;

    const AddressTest& test_;
    std::string line_;
};

// A child that prints the addresses of one name, and the pipe that it prints to. The destructor ends the child and the
// processes that it has started.
class Resolver {
  public:
    Resolver(const std::string& name, const AddressTest& test) : child_(start(name)), lines_(test) {}
    Resolver(const Resolver&) = delete;
    Resolver& operator=(const Resolver&) = delete;
    ~Resolver() {
        if (child_.valid()) {
            kill(-child_.id(), SIGKILL);
            kill(child_.id(), SIGKILL);  // the child may not have made its process group yet
        }
    }

    [[nodiscard]] bool runs() const { return child_.valid(); }

    [[nodiscard]] pollfd entry() const { return {.fd = answer_.get(), .events = POLLIN, .revents = 0}; }

    // Reads what is there. Returns nothing at the end of the output, else whether an address passed the test.
    [[nodiscard]] std::optional<bool> take_some() {
        ssize_t count = 0;
        do {
            count = read(answer_.get(), buffer_.data(), buffer_.size());
        } while (count == -1 && errno == EINTR);
        if (count <= 0) {
            return std::nullopt;
        }
        return lines_.take({buffer_.data(), static_cast<std::size_t>(count)});
    }

  private:
    pid_t start(const std::string& name) {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            return -1;
        }
        answer_.reset(ends[0]);
        const Descriptor output(ends[1]);
        const pid_t pid = fork();
        if (pid == 0) {
            print_answer(name, output.get());
        }
        return pid;
    }

    Descriptor answer_;
    std::array<char, 4096> buffer_;
    Child child_;
    AddressLines lines_;
};

// The children that run, one for each name. So a name that no server answers for does not delay the other names.
class Resolvers {
  public:
    [[nodiscard]] bool empty() const { return running_.empty(); }
    [[nodiscard]] bool full() const { return running_.size() == most_at_once; }

    // Returns false and sets errno when no further child can be started now.
    [[nodiscard]] bool start(const std::string& name, const AddressTest& test) {
        auto resolver = std::make_unique<Resolver>(name, test);
        if (!resolver->runs()) {
            return false;
        }
        running_.push_back(std::move(resolver));
        return true;
    }

    // Waits until a child has printed something or has ended. Returns whether that happened before the deadline.
    [[nodiscard]] bool await(Deadline deadline, IdleTask* task) {
        entries_.clear();
        for (const auto& resolver : running_) {
            entries_.push_back(resolver->entry());
        }
        while (Clock::now() < deadline) {
            const auto left =
                std::min<std::chrono::milliseconds::rep>(time_left(next_stop(deadline, task)).count(), INT_MAX);
            const int ready = poll(entries_.data(), entries_.size(), static_cast<int>(left));
            if (ready > 0 || (ready == -1 && errno != EINTR)) {
                return ready > 0;
            }
            run(task);
        }
        return false;
    }

    // Reads from the children that await found ready. Returns whether an address passed the test.
    [[nodiscard]] bool take_some() {
        for (std::size_t i = 0; i != entries_.size(); ++i) {
            if (entries_[i].revents == 0) {
                continue;
            }
            const std::optional<bool> passed = running_[i]->take_some();
            if (!passed) {
                running_[i].reset();
            } else if (*passed) {
                return true;
            }
        }
        std::erase(running_, nullptr);
        return false;
    }

  private:
    static constexpr std::size_t most_at_once = 16;

    std::vector<std::unique_ptr<Resolver>> running_;
    std::vector<pollfd> entries_;
};

bool is_number(std::string_view label) {
    const bool is_hexadecimal = label.starts_with("0x") || label.starts_with("0X");
    const std::string_view digits = is_hexadecimal ? "0123456789abcdefABCDEF" : "0123456789";
    label.remove_prefix(is_hexadecimal ? 2 : 0);
    return label.find_first_not_of(digits) == std::string_view::npos;
}

}  // namespace

bool is_host_name(std::string_view text) {
    constexpr std::size_t longest_name = 1024;
    const bool is_bounded = !text.empty() && text.size() <= longest_name;
    if (!is_bounded || std::any_of(text.begin(), text.end(), [](char byte) {
            return static_cast<unsigned char>(byte) <= ' ' || byte == '\x7F' || byte == ':' || byte == '%';
        })) {
        return false;
    }
    text.remove_suffix(text.ends_with('.') ? 1 : 0);
    return !is_number(text.substr(text.rfind('.') + 1));
}

LookUpEnd look_up(const Names& names, Deadline deadline, const AddressTest& test, IdleTask* task) {
    Resolvers resolvers;
    auto next = names.begin();
    for (;;) {
        while (next != names.end() && !resolvers.full() && resolvers.start(*next, test)) {
            ++next;
        }
        if (resolvers.empty()) {
            return next == names.end() ? LookUpEnd::complete : LookUpEnd::not_started;
        }
        if (!resolvers.await(deadline, task)) {
            return LookUpEnd::timed_out;
        }
        if (resolvers.take_some()) {
            return LookUpEnd::stopped;
        }
    }
}

}  // namespace platform_library
