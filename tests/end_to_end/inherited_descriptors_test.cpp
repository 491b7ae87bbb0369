// Descriptors that tools inherit: neither the agent's own nor those that it was started with. Kernels with close_range
// mark them all in one call, other kernels do not.
#include <sys/syscall.h>

#include <cerrno>

#include "tests/support/agent_runner.h"
#include "tests/support/product_test.h"
#include "tests/support/request_case.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

const std::string broker_tool = "/opt/HOLKkob/bin/ktlogcfg";

struct Kernel {
    std::string name;
    // The error of close_range.
    int error = 0;
    std::string emptied_folder;
};

std::ostream& operator<<(std::ostream& out, const Kernel& kernel) {
    return out << kernel.name;
}

class InheritedDescriptors : public ProductTest, public testing::WithParamInterface<Kernel> {
  protected:
    InheritedDescriptors() {
        options_.extra_descriptors = {3, 4, 7, 20, 100};
        options_.emptied_folder = GetParam().emptied_folder;
        if (GetParam().error != 0) {
            options_.refused_calls = {{.number = SYS_close_range, .error = GetParam().error}};
        }
    }

    AgentOptions options_;
};

TEST_P(InheritedDescriptors, OfAToolAreTheStandardStreamsAndTheSocket) {
    install_tool(zmsu_tool, {stand_in::print_descriptors()});
    // The duplicate of the socket has the first free number.
    EXPECT_EQ(run_agent({"zmsu"}, options_).output(), "0 1 2 5 \n\n");
}

TEST_P(InheritedDescriptors, AboveALoweredLimitDoNotReachATool) {
    install_tool(zmsu_tool, {stand_in::print_descriptors()});
    options_.descriptor_limit = 30;
    EXPECT_EQ(run_agent({"zmsu"}, options_).output(), "0 1 2 5 \n\n");
}

TEST_P(InheritedDescriptors, OfTheConnectionBrokersToolAreTheStandardStreams) {
    install_tool(broker_tool, {stand_in::run("{"), stand_in::print_descriptors(), stand_in::run("} > /tmp/inherited")});
    EXPECT_EQ(run_agent({"ENABLELOGGING", "KOB:kob=5"}, options_).status(), 0);
    EXPECT_EQ(read_file("/tmp/inherited"), "0 1 2 \n");
}

INSTANTIATE_TEST_SUITE_P(, InheritedDescriptors,
                         testing::Values(Kernel{"WithCloseRange", 0, ""},
                                         Kernel{"WithoutTheFlagOfCloseRange", EINVAL, ""},
                                         Kernel{"WithoutCloseRange", ENOSYS, ""},
                                         Kernel{"WithoutCloseRangeAndProc", ENOSYS, "/proc"},
                                         Kernel{"WithoutTheFlagAndProc", EINVAL, "/proc"},
                                         Kernel{"WithAnEmptyListOfDescriptors", ENOSYS, "/proc/self/fd"}),
                         name_of_row);

}  // namespace
