// A FIFO in place of a file. To open it as a file would block until somebody opens the other end.
#include <sys/stat.h>

#include "tests/support/agent_runner.h"
#include "tests/support/product_test.h"
#include "tests/support/test_files.h"

namespace {

const std::string store = "/usr/kumel/ktul/51216.conf";
const std::string volume_manager = "/usr/kumel/volmgr/vm.conf";
const std::string registry = "/etc/rkregistry.cfg";

class FifoInPlaceOf : public ProductTest {
  protected:
    static void make_fifo(const std::string& path) {
        remove_tree(path);
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0) << path;
    }

    static bool is_fifo(const std::string& path) {
        struct stat state {};
        return lstat(path.c_str(), &state) == 0 && S_ISFIFO(state.st_mode);
    }
};

TEST_F(FifoInPlaceOf, AStoreFileIsNotReplaced) {
    make_fifo(store);
    const AgentRun run = run_agent({"ENABLELOGGING", "ZMKTUL:111=5"});
    EXPECT_EQ(run.output(), "PROCESS=ZMKTUL:111 STATUS=1 MSG=failed to write ktul cfg RV=22 LVL=5\n");
    EXPECT_EQ(run.status(), 0);
    EXPECT_TRUE(is_fifo(store));
}

TEST_F(FifoInPlaceOf, AKeyValueFileCountsAsEmpty) {
    make_fifo(volume_manager);
    EXPECT_EQ(run_agent({"DISABLELOGGING", "VMCONF:x"}).output(), "PROCESS=VMCONF:x STATUS=0 MSG=Set debug logging\n");
    EXPECT_TRUE(is_fifo(volume_manager));
    EXPECT_EQ(run_agent({"ENABLELOGGING", "VMCONF:x"}).output(), "PROCESS=VMCONF:x STATUS=0 MSG=Set debug logging\n");
    EXPECT_EQ(read_file(volume_manager), "VERBOSE\n");
}

TEST_F(FifoInPlaceOf, TheCopyOfAKeyValueFileIsNotWrittenTo) {
    write_file(volume_manager, "VERBOSE\n");
    make_fifo(volume_manager + ".new");
    const std::string reason =
        "Could not open file " + volume_manager + ".new for writing E=6 (No such device or address)\n";
    EXPECT_EQ(run_agent({"ENABLELOGGING", "VMCONF:x"}).output(), "PROCESS=VMCONF:x STATUS=5803 MSG=" + reason);
    EXPECT_EQ(run_agent({"RESETLOGGING", "VMCONF:x"}).output(), "PROCESS=VMCONF:x STATUS=5804 MSG=" + reason);
    EXPECT_EQ(read_file(volume_manager), "VERBOSE\n");
    EXPECT_TRUE(is_fifo(volume_manager + ".new"));
}

TEST_F(FifoInPlaceOf, TheMainConfigurationListsNoHost) {
    make_fifo(main_configuration);
    EXPECT_EQ(run_agent({"FETCHFILE"}).status(), 5762);
}

TEST_F(FifoInPlaceOf, TheRegistryNamesNoFile) {
    make_fifo(registry);
    EXPECT_EQ(run_agent({"ENABLELOGGING", "RK:rkd"}).output(),
              "PROCESS=RK:rkd STATUS=5806 MSG=Failed to find kpa.cfg entry in " + registry + " (Value=full)\n");
}

}  // namespace
