// The output of zmlogstate diff.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <string>

#include "tests/state_command/state_test.h"
#include "tests/support/test_files.h"

using testing::ElementsAre;
using testing::HasSubstr;

class Diff : public StateTest {
  protected:
    Diff() { save(); }

    std::vector<std::string> differences() const {
        const CommandRun run = run_command({"diff", folder_});
        expect_status(run, 1);
        return lines_of(run.output);
    }
};

TEST_F(Diff, PrintsNothingWithoutDifferences) {
    const CommandRun run = run_command({"diff", folder_});
    expect_status(run, 0);
    EXPECT_EQ(run.output, "");
}

TEST_F(Diff, IgnoresTimes) {
    write_file(store, read_file(store));
    expect_status(run_command({"diff", folder_}), 0);
}

TEST_F(Diff, ShowsChangedText) {
    write_file(store, "112.DebugLevel=1\n111.DebugLevel=6\nother\n");
    EXPECT_THAT(differences(), ElementsAre("--- " + store + " (saved)", "+++ " + store + " (now)", "@@ -1,3 +1,3 @@",
                                           " 112.DebugLevel=1", "-111.DebugLevel=3", "+111.DebugLevel=6", " other"));
}

TEST_F(Diff, ShowsAnEndWithoutNewline) {
    write_file(main_configuration, read_file(main_configuration) + "\n");
    EXPECT_THAT(differences(), testing::Contains("\\ No newline at end of file"));
}

TEST_F(Diff, DoesNotShowBytesThatAreNotText) {
    using namespace std::string_literals;
    write_file(store, "a\0b"s);
    EXPECT_THAT(differences(), ElementsAre(store + ": content is not text, and differs (40 bytes, now 3)"));
}

TEST_F(Diff, DoesNotShowTextThatReplacesBytesThatAreNotText) {
    using namespace std::string_literals;
    remove_tree(folder_);
    write_file(store, "a\0b"s);
    save();
    write_file(store, "text\n");
    EXPECT_THAT(differences(), ElementsAre(store + ": content is not text, and differs (3 bytes, now 5)"));
}

TEST_F(Diff, EscapesControlCharacters) {
    write_file(storage_file, "WQF:LOGLEVEL=2\n\x1b[2J\r\n");
    EXPECT_THAT(differences(), testing::Contains("+\\x1b[2J\\r"));
}

TEST_F(Diff, NamesOwnerAndGroup) {
    if (!namespace_has_several_users()) {
        GTEST_SKIP() << "no other user";
    }
    give_away(store);
    EXPECT_THAT(differences(), ElementsAre(store + ": owner 0:0, now 1234:5678"));
}

TEST_F(Diff, NamesOwnerAndGroupWhenOnlyOneDiffers) {
    if (!namespace_has_several_users()) {
        GTEST_SKIP() << "no other user";
    }
    ASSERT_EQ(chown(console_file.c_str(), 1234, 0), 0);
    ASSERT_EQ(chown(store.c_str(), 0, 5678), 0);
    EXPECT_THAT(differences(),
                ElementsAre(console_file + ": owner 0:0, now 1234:0", store + ": owner 0:0, now 0:5678"));
}

TEST_F(Diff, NamesBothTargetsOfALink) {
    remove_tree(folder_);
    remove_tree(console_file);
    make_link("/nowhere", console_file);
    save();
    remove_tree(console_file);
    make_link("/elsewhere", console_file);
    EXPECT_THAT(differences(), ElementsAre(console_file + ": a link to /nowhere, now a link to /elsewhere"));
}

TEST_F(Diff, NamesModeAndAttributes) {
    set_mode(store, 0600);
    ASSERT_EQ(setxattr(storage_file.c_str(), "user.note", "x", 1, 0), 0);
    ASSERT_EQ(setxattr(storage_file.c_str(), "user.other", "x", 1, 0), 0);
    ASSERT_EQ(removexattr(main_configuration.c_str(), "user.empty"), 0);
    EXPECT_THAT(
        differences(),
        ElementsAre(store + ": mode 0644, now 0600", storage_file + ": attribute user.note changed",
                    storage_file + ": attribute user.other new", main_configuration + ": attribute user.empty gone"));
}

TEST_F(Diff, NamesFilesThatWereMadeOrRemovedOrBecameLinks) {
    remove_tree(store);
    remove_tree(console_file);
    make_link("/nowhere", console_file);
    EXPECT_THAT(differences(),
                ElementsAre(console_file + ": a file, now a link to /nowhere", store + ": a file, now missing"));
}

TEST_F(Diff, NamesLogDirectoriesThatWereMadeOrRemoved) {
    make_folder(logs_folder + "/new/below");
    make_folder(logs_folder + "/zmlogadmagent");
    make_folder("/usr/kumel/volmgr/debug");
    EXPECT_THAT(differences(), ElementsAre("/usr/kumel/volmgr/debug: log directory made since",
                                           logs_folder + "/new: log directory made since",
                                           logs_folder + "/new/below: log directory made since"));
    remove_tree(folder_);
    save();
    remove_tree(logs_folder + "/new");
    EXPECT_THAT(differences(), ElementsAre(logs_folder + "/new: log directory gone since",
                                           logs_folder + "/new/below: log directory gone since"));
}

TEST_F(Diff, NamesAFileThatItCannotRead) {
    remove_tree(store);
    make_folder(store);
    const CommandRun run = run_command({"diff", folder_});
    EXPECT_EQ(run.exit_status, 2);
    EXPECT_EQ(run.errors, "zmlogstate: cannot read " + store + ": Is a directory\n");
}

TEST_F(Diff, ChangesNothing) {
    raise_all_logging();
    const Snapshot before = take_whole_snapshot();
    const Snapshot saved = take_whole_snapshot(folder_);
    EXPECT_FALSE(differences().empty());
    EXPECT_EQ(take_whole_snapshot(), before);
    EXPECT_EQ(take_whole_snapshot(folder_), saved);
}

TEST_F(Diff, ReportsOutputThatCannotBeWritten) {
    raise_all_logging();
    const CommandRun run = run_command({"diff", folder_}, with_output_to("/dev/full"));
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_THAT(run.errors, HasSubstr("No space left on device"));
}

TEST_F(Diff, SkipsWhatIsBelowADirectoryThatWasNotRead) {
    if (!namespace_has_several_users()) {
        GTEST_SKIP() << "no other user";
    }
    make_folder(logs_folder + "/closed/below");
    set_mode(logs_folder + "/closed", 0700);
    remove_tree(folder_);
    set_mode("/tmp", 0777);
    EXPECT_EQ(run_command({"save", folder_}, become_another_user).exit_status, 2);
    const CommandRun run = run_command({"diff", folder_}, become_another_user);
    EXPECT_EQ(run.exit_status, 2);
    EXPECT_EQ(run.output, "");
}
