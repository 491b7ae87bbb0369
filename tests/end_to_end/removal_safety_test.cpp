// The removal of a collection while other users plant links, and of trees of any depth.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>

#include "tests/support/agent_runner.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/request_case.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"
#include "tests/support/traced_agent.h"

namespace fs = std::filesystem;

namespace {

using log_level::error;
using log_level::information;

const std::string collection = "/tmp/c";
const std::string kept_folder = "/opt/kept";
const std::string kept_file = kept_folder + "/file";
const Request failing_collection = {"RUNZMCPLOGS", "--collectdir", collection};

LogLine removal_message(int level, const std::string& text) {
    return {level, "remove_directory", text};
}

// Returns the temporary directory of the collection; "" before it exists.
std::string temporary_directory() {
    for (const std::string& name : names_in(collection)) {
        if (name.starts_with("zmla-")) {
            return collection + "/" + name;
        }
    }
    return "";
}

class RemovalSafety : public ProductTest {
  protected:
    RemovalSafety() {
        write_file(kept_file, "kept");
        make_folder(collection);
        set_mode(collection, 0777);
    }

    static void expect_kept() { EXPECT_EQ(read_file(kept_file), "kept"); }
};

// The log shows the name before the tool makes the directory, so an attacker can plant a link first.
TEST_F(RemovalSafety, LeavesAPlantedLinkAfterASizeCalculation) {
    install_tool(zmcplogs_tool, {stand_in::run("ln -s " + kept_folder + " \"$last\""), stand_in::print("sizes\n")});
    const AgentRun run = run_agent({"CALCLOGSIZE", "--collectdir", collection});
    EXPECT_EQ(run.status(), 0);
    const std::string link = temporary_directory();
    EXPECT_THAT(run.log,
                LogHas(removal_message(error, "Failed to open dir: " + link + " E=40 (" + strerror(ELOOP) + ")")));
    EXPECT_TRUE(fs::is_symlink(link));
    expect_kept();
}

TEST_F(RemovalSafety, LeavesAPlantedLinkAfterAFailedCollection) {
    for (const std::string& tool : {zmcplogs_tool, zmsu_tool}) {
        install_tool(tool, {stand_in::run("ln -s " + kept_folder + " \"$last\""), stand_in::exit_with(3)});
        const AgentRun run = run_agent({tool == zmsu_tool ? "RUNZMSU" : "RUNZMCPLOGS", "--collectdir", collection});
        EXPECT_EQ(run.status(), 3);
        const std::string link = temporary_directory();
        EXPECT_THAT(run.log,
                    LogHas(removal_message(error, "Failed to open dir: " + link + " E=40 (" + strerror(ELOOP) + ")")));
        fs::remove(link);
        expect_kept();
    }
}

// Without another user to own the directory, one that others may write serves as well.
TEST_F(RemovalSafety, LeavesALinkInADirectoryOfAnotherUser) {
    install_tool(zmcplogs_tool,
                 {stand_in::run("mkdir \"$last\" && ln -s " + kept_folder + " \"$last\"/link"),
                  stand_in::run("chown 65534 \"$last\" 2>/dev/null || chmod 777 \"$last\""), stand_in::exit_with(3)});
    const AgentRun run = run_agent(failing_collection);
    const std::string link = temporary_directory() + "/link";
    EXPECT_THAT(run.log, LogHas(removal_message(error, "cannot access " + link + " E=40 (" + strerror(ELOOP) + ")")));
    EXPECT_TRUE(fs::is_symlink(link));
    expect_kept();
}

TEST_F(RemovalSafety, FollowsALinkInADirectoryThatOnlyItsOwnerWrites) {
    install_tool(zmcplogs_tool, {stand_in::run("mkdir \"$last\" && ln -s " + kept_folder + " \"$last\"/link"),
                                 stand_in::exit_with(3)});
    const AgentRun run = run_agent(failing_collection);
    const std::string link = temporary_directory() + "/link";
    EXPECT_THAT(run.log, LogHas(removal_message(information, "Removing directory (" + link + ") Option(1)")));
    EXPECT_FALSE(exists(kept_file));
}

bool removal_has_begun() {
    const std::vector<LogLine> log = read_debug_log();
    return !log.empty() && log.back().tag == "perform_cleanup_on_failure";
}

// Runs an agent whose collection fails and leaves DIRECTORY/below/file. When the removal has begun, lets the agent pass
// that many stops at system calls, calls `swap` with the temporary directory, and lets the agent end. Returns false if
// the agent ends before that stop.
bool swap_at(int stop, const std::function<void(const std::string&)>& swap) {
    TracedAgent agent(failing_collection);
    while (!removal_has_begun()) {
        EXPECT_TRUE(agent.step());
    }
    for (int i = 0; i < stop; ++i) {
        if (!agent.step()) {
            return false;
        }
    }
    const std::string directory = temporary_directory();
    if (exists(directory + "/below")) {
        swap(directory);
    }
    while (agent.step()) {
    }
    return true;
}

// What is swapped for a link. A test swaps it at every stop of the agent, with a new run for each stop.
struct Swap {
    std::string name;
    std::function<void(const std::string& directory)> put;
};

std::ostream& operator<<(std::ostream& out, const Swap& swap) {
    return out << swap.name;
}

void put_link(const std::string& path) {
    fs::rename(path, "/tmp/moved");
    make_link(kept_folder, path);
}

const std::vector<Swap> swaps = {
    {"Directory", [](const std::string& directory) { put_link(directory); }},
    {"DirectoryInTheDirectory", [](const std::string& directory) { put_link(directory + "/below"); }},
    {"File",
     [](const std::string& directory) {
         if (exists(directory + "/below/file")) {
             put_link(directory + "/below/file");
         }
     }},
    {"DirectoryByOneWithALink",
     [](const std::string& directory) {
         fs::rename(directory, "/tmp/moved");
         make_folder(directory);
         make_link(kept_folder, directory + "/below");
         set_mode(directory, 0777);
     }},
};

class SwappedForALink : public RemovalSafety, public testing::WithParamInterface<Swap> {};

TEST_P(SwappedForALink, LeavesTheTargetUnchangedAtAnySystemCall) {
    install_tool(zmcplogs_tool, {stand_in::fill_last_argument({"below/file"}), stand_in::run("chmod -R 777 \"$last\""),
                                 stand_in::exit_with(3)});
    int stop = 0;
    for (; swap_at(stop, GetParam().put); ++stop) {
        SCOPED_TRACE("swapped at stop " + std::to_string(stop));
        ASSERT_EQ(read_file(kept_file), "kept");
        for (const std::string& path :
             {temporary_directory(), std::string("/tmp/moved"), logs_folder + "/zmlogadmagent"}) {
            remove_tree(path);
        }
    }
    EXPECT_GT(stop, 40);
}

INSTANTIATE_TEST_SUITE_P(, SwappedForALink, testing::ValuesIn(swaps), name_of_row);

// Installs a tool that leaves nested directories of that depth and fails.
void install_digging_tool(int levels) {
    install_tool(zmcplogs_tool,
                 {stand_in::run("mkdir -p \"$last/$(printf 'd/%.0s' $(seq " + std::to_string(levels) + "))\""),
                  stand_in::exit_with(3)});
}

AgentOptions with_descriptors(rlim_t limit) {
    AgentOptions options;
    options.descriptor_limit = limit;
    return options;
}

// The deepest tree whose paths fit into the longest path.
TEST_F(RemovalSafety, RemovesATreeOf999Levels) {
    install_digging_tool(999);
    const AgentRun run = run_agent(failing_collection, with_descriptors(1024));
    EXPECT_EQ(run.status(), 3);
    EXPECT_EQ(names_in(collection), std::vector<std::string>{});
}

TEST_F(RemovalSafety, LeavesADeeperTree) {
    install_digging_tool(1001);
    const AgentRun run = run_agent(failing_collection, with_descriptors(1024));
    EXPECT_EQ(run.status(), 3);
    const std::string directory = temporary_directory();
    std::string path = directory;
    while (path.size() < 2047) {
        path += "/d";
    }
    path.resize(2047);
    EXPECT_THAT(run.log,
                LogHas(removal_message(error, "cannot access " + path + " E=36 (" + strerror(ENAMETOOLONG) + ")")));
    EXPECT_TRUE(exists(directory + "/d"));
}

TEST_F(RemovalSafety, StopsWhenDescriptorsRunOut) {
    install_digging_tool(999);
    const AgentRun run = run_agent(failing_collection, with_descriptors(256));
    EXPECT_EQ(run.status(), 3);
    const std::string directory = temporary_directory();
    EXPECT_THAT(run.log, LogHas(removal_message(error, "failed to remove FILE=" + directory + "/d RV=5784")));
    EXPECT_THAT(run.log, LogHas({information, "zmlogadmagent", "closing peer SOCK (3) in QAS NSC=3"}));
    EXPECT_TRUE(exists(directory + "/d"));
}

}  // namespace
