#include "tests/unit/agent_test.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "agent/globals.h"
#include "platform/posix.h"
#include "tests/support/private_root.h"

AgentTest::AgentTest() {
    umask(022);  // what the agent sets itself
    system_calls::reset();
    overrides.lasting_process = getpid();
    recording_platform::reset();
    g_termdir.clear();
    debugFD = -1;
}

AgentTest::~AgentTest() {
    EXPECT_EQ(recording_platform::misuses(), Texts{});
    EXPECT_EQ(script.framed_reads.size(), 0U) << "the script holds more than was read";
    EXPECT_EQ(overrides.writes.size(), 0U) << "the script holds more than was written";
    EXPECT_EQ(failing_calls::reset(), "") << "these calls have not failed as often as they were to";
    system_calls::reset();
}

ProductPathTest::ProductPathTest() {
    if (!in_private_root()) {
        throw std::logic_error("a test of fixed paths runs in a private root only");
    }
    remove_tree("/usr/kumel");
    remove_tree("/etc/rkregistry.cfg");
    remove_tree("/opt/HOLKkob");
}

int next_descriptor() {
    return Descriptor(open("/", O_RDONLY | O_CLOEXEC)).get();
}

namespace children {

int start() {
    fflush(nullptr);  // or the child would write the same text again
    const pid_t child = fork();
    if (child == -1) {
        throw std::runtime_error("fork");
    }
    return child;
}

int wait(int child) {
    int word = 0;
    if (waitpid(child, &word, 0) != child) {
        throw std::runtime_error("waitpid");
    }
    return WIFEXITED(word) ? WEXITSTATUS(word) : -1;
}

void end(int status) {
    exit(status);
}

void end_unless(int process) {
    if (getpid() != process) {
        _exit(99);
    }
}

int current() {
    fflush(nullptr);
    return getpid();
}

}  // namespace children
