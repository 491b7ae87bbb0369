// The collection directory and its temporary directories.
#include "tests/support/agent_runner.h"
#include "tests/support/product_test.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

class CollectionDirectory : public ProductTest {};

TEST_F(CollectionDirectory, IsReadableByAllAndWritableByItsOwner) {
    install_tool(zmcplogs_tool, {});
    AgentOptions options;
    options.creation_mask = 0077;
    EXPECT_EQ(run_agent({"RUNZMCPLOGS"}, options).status(), 0);
    EXPECT_EQ(mode_of(default_collection_folder), 0755U);
}

TEST_F(CollectionDirectory, HasATemporaryDirectoryThatTheToolHasToMake) {
    install_tool(zmcplogs_tool, {stand_in::run("if [ -e \"$last\" ]; then echo made; else echo free; fi")});
    EXPECT_EQ(run_agent({"RUNZMCPLOGS"}).output(), "free\n\n");
}

TEST_F(CollectionDirectory, HasAnotherTemporaryDirectoryForEachRequest) {
    install_tool(zmcplogs_tool, {stand_in::print_arguments()});
    EXPECT_NE(run_agent({"RUNZMCPLOGS"}).output(), run_agent({"RUNZMCPLOGS"}).output());
}

TEST_F(CollectionDirectory, MayBeCleanedUpLater) {
    install_tool(zmcplogs_tool, {stand_in::fill_last_argument({"log"}), stand_in::run("printf %s \"$last\"")});
    const std::string output = run_agent({"RUNZMCPLOGS"}).output();
    const std::string temporary = output.substr(0, output.size() - 1);
    ASSERT_TRUE(exists(temporary + "/log"));
    const AgentRun run = run_agent({"CLEANUP", temporary});
    EXPECT_EQ(run.output(), "CLEANUP: Successfully cleaned up " + temporary + "\n");
    EXPECT_FALSE(exists(temporary));
}

}  // namespace
