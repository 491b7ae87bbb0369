#include "tests/support/traced_process.h"

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

namespace {

void check(long result, const char* what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

}  // namespace

TracedProcess::TracedProcess(const std::function<int()>& body) : process_(fork()) {
    check(process_, "fork");
    if (process_ == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        _exit(body());
    }
    await();
    constexpr int options = PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEEXEC;
    check(ptrace(PTRACE_SETOPTIONS, process_, nullptr, options), "trace");
}

bool TracedProcess::step() {
    check(ptrace(PTRACE_SYSCALL, process_, nullptr, nullptr), "go on");
    await();
    return WIFSTOPPED(status_);
}

void TracedProcess::kill() {
    if (WIFSTOPPED(status_)) {
        ::kill(process_, SIGKILL);
        waitpid(process_, &status_, 0);
    }
}

bool TracedProcess::succeeded() const {
    return WIFEXITED(status_) && WEXITSTATUS(status_) == 0;
}

void TracedProcess::await() {
    check(waitpid(process_, &status_, 0), "wait");
}
