#include "request_command/child.h"

#include <sys/wait.h>

#include <cerrno>
#include <cstring>

int Child::wait() {
    int wait_status = 0;
    if (valid()) {
        while (waitpid(pid_, &wait_status, 0) == -1 && errno == EINTR) {
        }
        pid_ = -1;
    }
    return wait_status;
}

std::string describe_end(int wait_status) {
    if (WIFSIGNALED(wait_status)) {
        const int signal = WTERMSIG(wait_status);
        return "was ended by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
    }
    return "ended with exit status " + std::to_string(WEXITSTATUS(wait_status));
}
