// Requests on a kernel without the system calls that came after Linux 3.10.
#include <sys/syscall.h>

#include <array>
#include <cctype>
#include <cerrno>

#include "tests/support/agent_runner.h"
#include "tests/support/connected_sockets.h"
#include "tests/support/product_test.h"
#include "tests/support/request_case.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

const std::string broker_tool = "/opt/HOLKkob/bin/ktlogcfg";
const std::string store = "/usr/kumel/ktul/51216.conf";
const std::string volume_manager = "/usr/kumel/volmgr/vm.conf";

struct NewCall {
    const char* name;
    long number;
};

// Later system calls that the agent or its C library could use.
constexpr std::array new_calls = {
    NewCall{"renameat2", SYS_renameat2},
    NewCall{"getrandom", SYS_getrandom},
    NewCall{"memfd_create", SYS_memfd_create},
    NewCall{"execveat", SYS_execveat},
    NewCall{"membarrier", SYS_membarrier},
    NewCall{"mlock2", SYS_mlock2},
    NewCall{"copy_file_range", SYS_copy_file_range},
    NewCall{"preadv2", SYS_preadv2},
    NewCall{"pwritev2", SYS_pwritev2},
    NewCall{"statx", SYS_statx},
    NewCall{"rseq", SYS_rseq},
    NewCall{"pidfd_send_signal", SYS_pidfd_send_signal},
    NewCall{"io_uring_setup", SYS_io_uring_setup},
    NewCall{"open_tree", SYS_open_tree},
    NewCall{"pidfd_open", SYS_pidfd_open},
    NewCall{"clone3", SYS_clone3},
    NewCall{"close_range", SYS_close_range},
    NewCall{"openat2", SYS_openat2},
    NewCall{"pidfd_getfd", SYS_pidfd_getfd},
    NewCall{"faccessat2", SYS_faccessat2},
    NewCall{"process_madvise", SYS_process_madvise},
    NewCall{"epoll_pwait2", SYS_epoll_pwait2},
    NewCall{"futex_waitv", SYS_futex_waitv},
};

struct Kernel {
    std::string name;
    std::vector<RefusedCall> refused_calls;
};

std::ostream& operator<<(std::ostream& out, const Kernel& kernel) {
    return out << kernel.name;
}

// "renameat2" is "Renameat2", "copy_file_range" is "CopyFileRange".
std::string in_camel_case(std::string_view name) {
    std::string result;
    bool begins_word = true;
    for (const char letter : name) {
        if (letter != '_') {
            result += begins_word ? static_cast<char>(toupper(letter)) : letter;
        }
        begins_word = letter == '_';
    }
    return result;
}

std::vector<Kernel> old_kernels() {
    std::vector<Kernel> kernels;
    std::vector<RefusedCall> all;
    for (const NewCall& call : new_calls) {
        const RefusedCall unknown = {.number = call.number, .error = ENOSYS};
        kernels.push_back({"Without" + in_camel_case(call.name), {unknown}});
        all.push_back(unknown);
        // An older kernel may know the call but not a flag of it. clone3 is an exception: the C library has a fallback
        // only for a kernel without the call.
        if (call.number != SYS_clone3) {
            kernels.push_back({"WithOlder" + in_camel_case(call.name), {{.number = call.number, .error = EINVAL}}});
        }
    }
    kernels.push_back({"WithoutAll", all});
    return kernels;
}

class OldKernel : public ProductTest, public testing::WithParamInterface<Kernel> {
  protected:
    OldKernel() {
        options_.refused_calls = GetParam().refused_calls;
        options_.extra_descriptors = {3, 4, 7, 20, 100};
    }

    AgentOptions options_;
};

TEST_P(OldKernel, ServesALoggingRequest) {
    write_file(store, "111.DebugLevel=1\n");
    write_file(volume_manager, "A = 1\n#VERBOSE\n");
    install_tool(broker_tool, {stand_in::run("{"), stand_in::print_descriptors(), stand_in::run("} > /tmp/inherited")});
    const Request request = {"ENABLELOGGING", "QRCONF:jobd_verbose", "ZMKTUL:111=5", "VMCONF:vmd", "KOB:kob=5"};
    const AgentRun run = run_agent(request, options_);
    EXPECT_EQ(run.output(),
              "PROCESS=QRCONF:jobd_verbose STATUS=0 MSG=Set up\n"
              "PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=1,111=5 DIAG:111=6,111=6\n"
              "PROCESS=VMCONF:vmd STATUS=0 MSG=Set debug logging\n"
              "PROCESS=KOB:kob STATUS=0 MSG=Success\n");
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(read_file(main_configuration), "SERVER = localhost\nJOBD_VERBOSE = 5\n");
    EXPECT_EQ(read_file(store), "111.DebugLevel=5\n");
    EXPECT_EQ(read_file(volume_manager), "A = 1\nVERBOSE\n");
    EXPECT_EQ(read_file("/tmp/inherited"), "0 1 2 \n");
}

TEST_P(OldKernel, ServesACollection) {
    make_folder(default_collection_folder);
    install_tool(zmsu_tool, {stand_in::print_descriptors(), stand_in::fill_last_argument({"package"})});
    AgentRun run = run_agent({"RUNZMSU"}, options_);
    EXPECT_EQ(run.status(), 0);
    EXPECT_TRUE(run.output().starts_with("0 1 2 5 \n")) << run.output();
    const std::vector<std::string> collections = names_in(default_collection_folder);
    ASSERT_EQ(collections.size(), 1U);
    const std::string collection = default_collection_folder + "/" + collections[0];
    EXPECT_EQ(names_in(collection), (std::vector<std::string>{"package"}));

    run = run_agent({"CLEANUP", collection}, options_);
    EXPECT_EQ(run.output(), "CLEANUP: Successfully cleaned up " + collection + "\n");
    EXPECT_EQ(run.status(), 0);
    EXPECT_FALSE(exists(collection));
}

TEST_P(OldKernel, RemovesAFailedCollection) {
    make_folder(default_collection_folder);
    install_tool(zmsu_tool, {stand_in::fill_last_argument({"package", "folder/file"}), stand_in::exit_with(3)});
    EXPECT_EQ(run_agent({"RUNZMSU"}, options_).status(), 3);
    EXPECT_EQ(names_in(default_collection_folder), std::vector<std::string>{});
}

TEST_P(OldKernel, ServesARequestOverTcp) {
    Agent agent(connect_over_tcp({.peer_port = 1000}), options_);
    agent.send(Request{"GETDISKSPACE", "/tmp"});
    const AgentRun run = agent.finish();
    EXPECT_TRUE(run.output().starts_with("CALCLOGSIZE: TARGET_DIR=/tmp FREE_SPACE=")) << run.output();
    EXPECT_EQ(run.status(), 0);
}

INSTANTIATE_TEST_SUITE_P(, OldKernel, testing::ValuesIn(old_kernels()), name_of_row);

}  // namespace
