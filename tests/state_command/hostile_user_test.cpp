// What other users of the host can make zmlogstate do: nothing beyond their own files.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "state_command/sha256.h"
#include "tests/state_command/state_test.h"
#include "tests/support/test_files.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

const std::string volume_manager_logs = "/usr/kumel/volmgr/debug";
const std::string elsewhere = "/tmp/elsewhere";
const std::string reason = ": reached only through a link that other users can change\n";

// Others can write the folder, and replace the folder's entry with a link.
void replace_with_link(const std::string& path) {
    set_mode(path.substr(0, path.rfind('/')), 0777);
    remove_tree(path);
    make_link(elsewhere, path);
}

}  // namespace

class HostileUser : public StateTest {
  protected:
    HostileUser() { make_folder(elsewhere); }

    CommandRun restore(const Arguments& options = {}) const {
        return run_command(Arguments{"restore"} + options + Arguments{folder_});
    }
};

TEST_F(HostileUser, CannotHaveOtherFoldersEmptiedByALinkInThePlaceOfALogRoot) {
    make_folder(volume_manager_logs + "/robots");
    save();
    write_file(elsewhere + "/new/file", "kept");
    make_folder(elsewhere + "/empty");
    replace_with_link(volume_manager_logs);
    const CommandRun run = restore({"--remove-logs"});
    EXPECT_EQ(run.exit_status, 2);
    EXPECT_EQ(run.errors, "zmlogstate: cannot read " + volume_manager_logs + reason);
    EXPECT_THAT(names_in(elsewhere), ElementsAre("empty", "new"));
    EXPECT_EQ(read_file(elsewhere + "/new/file"), "kept");
}

TEST_F(HostileUser, CannotHaveOtherFoldersListedAsLogDirectories) {
    make_folder(elsewhere + "/secret");
    make_folder(volume_manager_logs);
    replace_with_link(volume_manager_logs);
    const CommandRun run = run_command({"show", "MMLOGDIR"});
    EXPECT_EQ(run.exit_status, 2);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, "zmlogstate: cannot read " + volume_manager_logs + reason);
}

TEST_F(HostileUser, CannotHaveAFileRestoredElsewhereByALinkAboveIt) {
    save();
    replace_with_link("/usr/kumel/lib/stg-plugins");
    const CommandRun run = restore();
    EXPECT_EQ(run.exit_status, 2);
    EXPECT_THAT(run.errors, HasSubstr("cannot read " + plugin_file + reason));
    EXPECT_THAT(names_in(elsewhere), ElementsAre());
}

TEST_F(HostileUser, CannotHaveAnotherFileSavedByALinkOnTheWayOfALink) {
    write_file("/usr/kumel/data/real/Debug.properties", "mine\n");
    remove_tree(console_file);
    make_link("/usr/kumel/data/real/Debug.properties", console_file);
    replace_with_link("/usr/kumel/data/real");
    write_file(elsewhere + "/Debug.properties", "secret\n");
    const CommandRun run = run_command({"save", folder_});
    EXPECT_EQ(run.exit_status, 2);
    EXPECT_EQ(run.errors, "zmlogstate: cannot read /usr/kumel/data/real" + reason);
    EXPECT_FALSE(exists(folder_ + "/files" + elsewhere));
    EXPECT_EQ(run_command({"diff", folder_}).errors, "zmlogstate: /usr/kumel/data/real was not saved" + reason);
}

TEST_F(HostileUser, CannotExhaustTheMemoryWithALargeFile) {
    ASSERT_EQ(truncate(volume_manager_file.c_str(), off_t{1} << 40), 0);
    const CommandRun run = run_command({"save", folder_});
    EXPECT_EQ(run.exit_status, 2);
    EXPECT_EQ(run.errors, "zmlogstate: cannot read " + volume_manager_file + ": File too large\n");
    EXPECT_EQ(run_command({"show", "VMCONF"}).exit_status, 2);
}

TEST_F(HostileUser, CannotHideCharactersThatControlATerminal) {
    save();
    // The control character U+009B as UTF-8 and as a single byte, and letters.
    write_file(volume_manager_file,
               "\xc2\x9b"
               "2J\n\x9b"
               "2J\n\xc3\xa9\xe9\n");
    EXPECT_THAT(lines_of(run_command({"diff", folder_}).output),
                testing::IsSupersetOf({"+\\xc2\\x9b2J", "+\\x9b2J", "+\xc3\xa9\xe9"}));
}

TEST_F(HostileUser, CannotRewriteAManifest) {
    save();
    for (const unsigned mode : {0620U, 0602U}) {
        set_mode(folder_ + "/manifest", mode);
        const CommandRun run = restore();
        EXPECT_EQ(run.exit_status, 255);
        EXPECT_THAT(run.errors, HasSubstr("manifest can be written by others"));
    }
}

TEST_F(HostileUser, CannotHaveAManifestOfItsOwnRestored) {
    if (!namespace_has_several_users()) {
        GTEST_SKIP() << "no other user";
    }
    save();
    give_away(folder_ + "/manifest");
    EXPECT_THAT(restore().errors, HasSubstr("manifest belongs to another user"));
}

// Each folder holds the next one, by names that no path of one call can have.
TEST_F(HostileUser, CannotCrashTheCommandWithDeeplyNestedFolders) {
    make_folder(logs_folder + "/jobd");
    save();
    ASSERT_EQ(system(("cd " + logs_folder +
                      "/jobd && python3 -c 'import os\nfor i in range(20000):\n os.mkdir(\"a\")\n os.chdir(\"a\")'")
                         .c_str()),
              0);
    const auto with_many_descriptors = [] {
        const rlimit limit = {.rlim_cur = 100000, .rlim_max = 100000};
        setrlimit(RLIMIT_NOFILE, &limit);
    };
    const CommandRun run = run_command({"restore", "--remove-logs", folder_}, with_many_descriptors);
    EXPECT_EQ(run.exit_status, 1) << run.errors.substr(0, 1000);
    EXPECT_THAT(run.errors, HasSubstr(": File name too long\n"));
    ASSERT_EQ(system(("rm -rf " + logs_folder + "/jobd").c_str()), 0);
}
