#include "tests/platform/child_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <system_error>

#include "platform/posix.h"
#include "tests/support/test_files.h"

// Exists in builds that count branches. A process that ends with _exit has to write its counts itself.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" void __gcov_dump() __attribute__((weak));

namespace {

// Counts the failures of the current test so far. Earlier failures are not failures of the child.
int failures() {
    const testing::TestResult& result = *testing::UnitTest::GetInstance()->current_test_info()->result();
    int count = 0;
    for (int i = 0; i < result.total_part_count(); ++i) {
        count += result.GetTestPartResult(i).failed() ? 1 : 0;
    }
    return count;
}

[[noreturn]] void run(const std::function<void()>& work) {
    const int failures_before = failures();
    bool failed = false;
    try {
        work();
    } catch (const std::exception& failure) {
        printf("child process: %s\n", failure.what());
        failed = true;
    }
    failed = failed || failures() != failures_before;
    fflush(stdout);
    if (__gcov_dump != nullptr) {
        __gcov_dump();
    }
    _exit(failed ? 1 : 0);
}

pid_t start(const std::function<void()>& work) {
    fflush(stdout);
    const pid_t id = fork();
    if (id == -1) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (id == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        run(work);
    }
    return id;
}

}  // namespace

ChildProcess::ChildProcess(const std::function<void()>& work) : id_(start(work)) {}

ChildProcess::~ChildProcess() {
    if (id_ != -1) {
        kill(id_, SIGKILL);
        waitpid(id_, nullptr, 0);
    }
}

int ChildProcess::wait() {
    if (id_ != -1) {
        while (waitpid(id_, &status_, 0) == -1 && errno == EINTR) {
        }
        id_ = -1;
    }
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
}

bool ChildProcess::runs() {
    if (id_ != -1 && waitpid(id_, &status_, WNOHANG) == id_) {
        id_ = -1;
    }
    return id_ != -1;
}

bool succeeds_in_child(const std::function<void()>& work) {
    return ChildProcess(work).wait() == 0;
}

bool in_fresh_process() {
    constexpr const char* mark = "PLATFORM_TESTS_FRESH_PROCESS";
    if (getenv(mark) != nullptr) {
        return true;
    }
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    const std::string filter = std::string("--gtest_filter=") + test.test_suite_name() + "." + test.name();
    const Descriptor output(memfd_create("output", MFD_CLOEXEC));
    const bool succeeded = succeeds_in_child([&] {
        setenv(mark, "1", 1);
        dup3(output.get(), STDOUT_FILENO, 0);
        dup3(output.get(), STDERR_FILENO, 0);
        execl("/proc/self/exe", "platform_tests", filter.c_str(), "--gtest_brief=1", nullptr);
        throw std::system_error(errno, std::generic_category(), "execute this program again");
    });
    EXPECT_TRUE(succeeded) << read_file("/proc/self/fd/" + std::to_string(output.get()));
    return false;
}

void give_up_file_rights() {
    __user_cap_header_struct header = {.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    if (syscall(SYS_capget, &header, data) != 0) {
        throw std::system_error(errno, std::generic_category(), "capget");
    }
    data[0].effective &= ~((1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH));
    if (syscall(SYS_capset, &header, data) != 0) {
        throw std::system_error(errno, std::generic_category(), "capset");
    }
}
