// What zmlogstate restore does where it has no right to restore an owner.
#include <gmock/gmock.h>

#include <string>

#include "tests/state_command/state_test.h"
#include "tests/support/test_files.h"

class RestoreWithoutRights : public StateTest {};

// Otherwise the next comparison would take the directory for restored.
TEST_F(RestoreWithoutRights, LeavesNoLogDirectoryWithTheWrongOwner) {
    if (!namespace_has_several_users()) {
        GTEST_SKIP() << "no other user";
    }
    const std::string path = logs_folder + "/jobd";
    make_folder(path);
    give_away(path);
    save();
    remove_tree(path);
    const CommandRun run = run_command({"restore", folder_}, as_user(0));
    EXPECT_EQ(run.exit_status, 1);
    EXPECT_THAT(run.errors, testing::HasSubstr("cannot make " + path + " again: Invalid argument\n"));
    EXPECT_FALSE(exists(path));
}
