// Files that logging requests change: with a killed agent, on a full disk, in a read-only folder, and with many agents
// at once.
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>

#include "tests/support/agent_runner.h"
#include "tests/support/product_test.h"
#include "tests/support/request_case.h"
#include "tests/support/test_files.h"
#include "tests/support/traced_agent.h"

namespace {

const std::string store = "/usr/kumel/ktul/51216.conf";
const std::string volume_manager = "/usr/kumel/volmgr/vm.conf";

// A file that a request changes, and how.
struct ChangedFile {
    std::string name;
    std::string path;
    std::string before;
    std::string after;
    Request request;
    // Whether the platform library rewrites it. If not, it is a key-value file.
    bool is_rewritten_safely = true;
};

std::ostream& operator<<(std::ostream& out, const ChangedFile& file) {
    return out << file.name;
}

const std::vector<ChangedFile> changed_files = {
    {.name = "MainConfiguration",
     .path = main_configuration,
     .before = "# trusted\nSERVER = localhost\nJOBD_VERBOSE = 1\n# end\n",
     .after = "# trusted\nSERVER = localhost\nJOBD_VERBOSE = 5\n# end\nREQD_VERBOSE = 3\n",
     .request = {"ENABLELOGGING", "QRCONF:jobd_verbose,reqd_verbose=3"}},
    {.name = "LoggingStore",
     .path = store,
     .before = "# levels\n111.DebugLevel=1\n",
     .after = "# levels\n111.DebugLevel=5\n",
     .request = {"ENABLELOGGING", "ZMKTUL:111=5"}},
    {.name = "KeyValueFile",
     .path = volume_manager,
     .before = "A = 1\n#VERBOSE\nB = 2\n",
     .after = "A = 1\nVERBOSE\nB = 2\n",
     .request = {"ENABLELOGGING", "VMCONF:vmd"},
     .is_rewritten_safely = false},
};

class FileSafety : public ProductTest, public testing::WithParamInterface<ChangedFile> {
  public:
    FileSafety() { restore(); }

    static void restore() {
        write_file(GetParam().path, GetParam().before);
        set_mode(GetParam().path, 0640);
    }

    // Kills the agent at one of its stops at system calls. Returns false if it ends before the stop of that number.
    [[nodiscard]] static bool crash_at(int stop) {
        TracedAgent agent(GetParam().request);
        for (int i = 0; i < stop; ++i) {
            if (!agent.step()) {
                EXPECT_TRUE(agent.succeeded());
                return false;
            }
        }
        agent.kill();
        return true;
    }

    static std::string folder() { return GetParam().path.substr(0, GetParam().path.rfind('/')); }
};

// Expects that the next request succeeds and leaves only a lock beside the file.
void expect_next_request_to_work(const std::vector<std::string>& names_before) {
    const ChangedFile& changed = FileSafety::GetParam();
    ASSERT_EQ(run_agent(changed.request).status(), 0);
    ASSERT_EQ(read_file(changed.path), changed.after);
    for (const std::string& name : names_in(FileSafety::folder())) {
        const bool was_there = std::find(names_before.begin(), names_before.end(), name) != names_before.end();
        ASSERT_TRUE(was_there || FileSafety::folder() + "/" + name == changed.path + ".lock") << name;
    }
}

TEST_P(FileSafety, TheFileIsWhollyOldOrWhollyNewAfterAKillAtAnySystemCall) {
    const std::vector<std::string> names = names_in(folder());
    int new_texts = 0;
    int stop = 1;
    // The agent stops twice for each system call: before it and after it.
    for (; crash_at(stop); stop += 2) {
        SCOPED_TRACE("killed at stop " + std::to_string(stop));
        const std::string text = read_file(GetParam().path);
        ASSERT_TRUE(text == GetParam().before || text == GetParam().after) << text;
        if (GetParam().is_rewritten_safely) {
            ASSERT_EQ(mode_of(GetParam().path), 0640U);
        }
        new_texts += text == GetParam().after ? 1 : 0;
        ASSERT_NO_FATAL_FAILURE(expect_next_request_to_work(names));
        restore();
    }
    EXPECT_EQ(read_file(GetParam().path), GetParam().after);
    EXPECT_GT(stop, 100);
    EXPECT_GT(new_texts, 2);
}

INSTANTIATE_TEST_SUITE_P(, FileSafety, testing::ValuesIn(changed_files), name_of_row);

// Mounts a small file system over a folder.
class SmallDisk {
  public:
    explicit SmallDisk(std::string folder) : folder_(std::move(folder)) {
        if (mount("none", folder_.c_str(), "tmpfs", 0, "size=64k,mode=755") != 0) {
            throw std::system_error(errno, std::generic_category(), "mount " + folder_);
        }
    }
    ~SmallDisk() { umount2(folder_.c_str(), MNT_DETACH); }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    void fill() const {
        const Descriptor file(open(filler().c_str(), O_WRONLY | O_CREAT, 0600));
        const std::string block(4096, 'x');
        while (write_all(file.get(), block)) {
        }
    }
    void make_room() const { unlink(filler().c_str()); }
    void forbid_writing() const {
        if (mount("none", folder_.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0) {
            throw std::system_error(errno, std::generic_category(), "remount " + folder_);
        }
    }

  private:
    [[nodiscard]] std::string filler() const { return folder_ + "/filler"; }

    std::string folder_;
};

class SafelyRewrittenStore : public ProductTest {
  protected:
    SafelyRewrittenStore() { write_file(store, before_); }

    const std::string before_ = "111.DebugLevel=1\n";
    SmallDisk disk_ = SmallDisk("/usr/kumel/ktul");
};

TEST_F(SafelyRewrittenStore, IsUnchangedOnAFullDiskAndChangedWhenThereIsRoom) {
    // The lock exists, as after any first change. Only the new text finds no room.
    write_file(store + ".lock", "");
    disk_.fill();
    AgentRun run = run_agent({"ENABLELOGGING", "ZMKTUL:111=5"});
    EXPECT_EQ(run.output(), "PROCESS=ZMKTUL:111 STATUS=1 MSG=failed to write ktul cfg RV=28 LVL=5\n");
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(read_file(store), before_);
    EXPECT_EQ(names_in("/usr/kumel/ktul"), (std::vector<std::string>{"51216.conf", "51216.conf.lock", "filler"}));
    disk_.make_room();
    run = run_agent({"ENABLELOGGING", "ZMKTUL:111=5"});
    EXPECT_EQ(run.output(), "PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=1,111=5 DIAG:111=6,111=6\n");
    EXPECT_EQ(read_file(store), "111.DebugLevel=5\n");
}

TEST_F(SafelyRewrittenStore, IsUnchangedInAReadOnlyFolder) {
    disk_.forbid_writing();
    const AgentRun run = run_agent({"ENABLELOGGING", "ZMKTUL:111=5"});
    EXPECT_EQ(run.output(), "PROCESS=ZMKTUL:111 STATUS=1 MSG=failed to write ktul cfg RV=30 LVL=5\n");
    EXPECT_EQ(read_file(store), before_);
    EXPECT_EQ(names_in("/usr/kumel/ktul"), (std::vector<std::string>{"51216.conf"}));
}

TEST_F(SafelyRewrittenStore, KeepsItsExtendedAttributesAndOwner) {
    const std::string value = "of the administrator";
    // The memory file system of a private root has no user attributes, only trusted ones of root. If neither can be
    // set, there is nothing to keep.
    const bool has_attribute = setxattr(store.c_str(), "trusted.note", value.data(), value.size(), 0) == 0;
    set_mode(store, 0604);
    EXPECT_EQ(run_agent({"ENABLELOGGING", "ZMKTUL:111=5"}).status(), 0);
    EXPECT_EQ(mode_of(store), 0604U);
    std::string kept(64, '\0');
    const ssize_t size = getxattr(store.c_str(), "trusted.note", kept.data(), kept.size());
    kept.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    EXPECT_EQ(kept, has_attribute ? value : "");
}

// Starts all agents, sends their requests and then waits for all.
void run_at_once(const std::vector<Request>& requests) {
    std::vector<std::unique_ptr<Agent>> agents;
    for (const Request& request : requests) {
        agents.push_back(std::make_unique<Agent>());
        agents.back()->send(request);
    }
    for (const std::unique_ptr<Agent>& agent : agents) {
        const AgentRun run = agent->finish();
        EXPECT_EQ(run.status(), 0);
        EXPECT_NE(run.output().find("STATUS=0"), std::string::npos) << run.output();
    }
}

constexpr int many = 32;

class ManyAgentsAtOnce : public ProductTest {};

TEST_F(ManyAgentsAtOnce, LoseNoChangeOfTheMainConfiguration) {
    std::vector<Request> requests;
    requests.reserve(many);
    for (int i = 0; i < many; ++i) {
        requests.push_back({"ENABLELOGGING", "QRCONF:PROCESS" + std::to_string(i) + "_VERBOSE=" + std::to_string(i)});
    }
    run_at_once(requests);
    const std::string text = read_file(main_configuration);
    for (int i = 0; i < many; ++i) {
        const std::string line = "PROCESS" + std::to_string(i) + "_VERBOSE = " + std::to_string(i) + "\n";
        EXPECT_NE(text.find("\n" + line), std::string::npos) << line;
    }
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1 + many);
}

TEST_F(ManyAgentsAtOnce, LoseNoChangeOfALoggingStore) {
    write_file(store, "# levels\n");
    std::vector<Request> requests;
    requests.reserve(many);
    for (int i = 0; i < many; ++i) {
        requests.push_back({"ENABLELOGGING", "ZMKTUL:" + std::to_string(1000 + i) + "=5"});
    }
    run_at_once(requests);
    const std::string text = read_file(store);
    for (int i = 0; i < many; ++i) {
        const std::string line = std::to_string(1000 + i) + ".DebugLevel=5\n";
        EXPECT_NE(text.find("\n" + line), std::string::npos) << line;
    }
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1 + many);
}

}  // namespace
