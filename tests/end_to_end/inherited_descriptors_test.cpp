// What programs inherit of the descriptors that the agent holds and of those that it was started with, on kernels that
// mark them all in one call and on those that do not.
#include <sys/syscall.h>

#include <cerrno>

#include "tests/support/agent_runner.h"
#include "tests/support/product_test.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

const std::string broker_tool = "/opt/HOLKkob/bin/ktlogcfg";

struct Kernel {
    std::string name;
    // Of close_range.
    int error = 0;
    std::string emptied_folder;
};

std::ostream& operator<<(std::ostream& out, const Kernel& row) {
    return out << row.name;
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

TEST_P(InheritedDescriptors, OfAToolAreItsStreamsAndTheSocket) {
    install_tool(zmsu_tool, {stand_in::print_descriptors()});
    // The socket's duplicate is the first free number.
    EXPECT_EQ(run_agent({"zmsu"}, options_).output(), "0 1 2 5 \n\n");
}

TEST_P(InheritedDescriptors, AboveALoweredLimitDoNotReachATool) {
    install_tool(zmsu_tool, {stand_in::print_descriptors()});
    options_.descriptor_limit = 30;
    EXPECT_EQ(run_agent({"zmsu"}, options_).output(), "0 1 2 5 \n\n");
}

TEST_P(InheritedDescriptors, OfTheConnectionBrokersToolAreItsStreams) {
    install_tool(broker_tool, {stand_in::run("{"), stand_in::print_descriptors(), stand_in::run("} > /tmp/inherited")});
    EXPECT_EQ(run_agent({"ENABLELOGGING", "KOB:kob=5"}, options_).status(), 0);
    EXPECT_EQ(read_file("/tmp/inherited"), "0 1 2 \n");
}

INSTANTIATE_TEST_SUITE_P(Table, InheritedDescriptors,
                         testing::Values(Kernel{"Linux5_11", 0, ""}, Kernel{"WithoutTheFlag", EINVAL, ""},
                                         Kernel{"WithoutTheCall", ENOSYS, ""},
                                         Kernel{"WithoutTheCallAndProc", ENOSYS, "/proc"},
                                         Kernel{"WithoutTheFlagAndProc", EINVAL, "/proc"},
                                         Kernel{"WithAnEmptyListing", ENOSYS, "/proc/self/fd"}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
