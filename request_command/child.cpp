#include "request_command/child.h"

#include <sys/wait.h>

#include <cstring>

std::string describe_end(int wait_status) {
    if (WIFSIGNALED(wait_status)) {
        const int signal = WTERMSIG(wait_status);
        return "was killed by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
    }
    return "ended with exit status " + std::to_string(WEXITSTATUS(wait_status));
}
