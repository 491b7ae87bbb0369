// Saved states and arguments that zmlogstate rejects before it changes anything.
#include <gmock/gmock.h>
#include <sched.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "tests/state_command/state_test.h"
#include "tests/support/test_files.h"

using testing::HasSubstr;

class Rejection : public StateTest {
  protected:
    Rejection() {
        save();
        raise_all_logging();
    }

    // Expects that diff and restore reject the folder, and that nothing changes.
    void expect_rejection(const std::string& reason, const std::string& folder) const {
        const Snapshot before = take_whole_snapshot();
        for (const Arguments& arguments : {Arguments{"diff", folder}, Arguments{"restore", folder},
                                           Arguments{"restore", "--force", "--remove-logs", folder}}) {
            const CommandRun run = run_command(arguments);
            EXPECT_EQ(run.exit_status, 255);
            EXPECT_EQ(run.output, "");
            EXPECT_THAT(run.errors, HasSubstr(reason));
        }
        EXPECT_EQ(take_whole_snapshot(), before);
    }
    void expect_rejection(const std::string& reason) const { expect_rejection(reason, folder_); }

    const std::string manifest_ = folder_ + "/manifest";
};

TEST_F(Rejection, OfAMissingFolderOrAFile) {
    expect_rejection("No such file or directory", "/tmp/other");
    write_file("/tmp/file", "");
    expect_rejection("Not a directory", "/tmp/file");
}

TEST_F(Rejection, OfAFolderWithoutManifest) {
    remove_tree(manifest_);
    expect_rejection("is not a whole saved state");
}

TEST_F(Rejection, OfACutManifest) {
    const std::string text = read_file(manifest_);
    const Snapshot before = take_whole_snapshot();
    for (std::size_t size = 0; size < text.size(); size += 17) {
        write_file(manifest_, text.substr(0, size));
        EXPECT_EQ(run_command({"restore", folder_}).exit_status, 255) << size;
    }
    EXPECT_EQ(take_whole_snapshot(), before);
}

TEST_F(Rejection, OfAChangedManifest) {
    const std::string text = read_file(manifest_);
    for (const std::string& other : {text + "\n", text + text, " " + text, text.substr(1),
                                     std::string(text).replace(text.find("0640"), 4, "0666")}) {
        write_file(manifest_, other);
        expect_rejection("its manifest is damaged");
    }
}

TEST_F(Rejection, OfMissingOrChangedCopies) {
    const std::string copy = folder_ + "/files" + store;
    const std::string text = read_file(copy);
    for (const std::string& other : {text + "x", text.substr(1), std::string(text).replace(3, 1, "x"), std::string()}) {
        write_file(copy, other);
        expect_rejection("the copy of " + store + " is damaged");
    }
    remove_tree(copy);
    expect_rejection("is not a whole saved state");
    make_link(store, copy);
    expect_rejection("is not a whole saved state");
    remove_tree(copy);
    make_folder(copy);
    expect_rejection("is not a whole saved state");
}

TEST_F(Rejection, OfAFolderOfAnotherUser) {
    if (!namespace_has_several_users()) {
        GTEST_SKIP() << "no other user";
    }
    give_away(folder_);
    expect_rejection("belongs to another user");
}

TEST_F(Rejection, OfAFolderThatOthersCanWrite) {
    for (const unsigned mode : {0720U, 0702U}) {
        set_mode(folder_, mode);
        expect_rejection("can be written by others");
    }
    set_mode(folder_, 0755);
    EXPECT_EQ(run_command({"diff", folder_}).exit_status, 1);
}

TEST_F(Rejection, OfAnotherHostsFolderUnlessForced) {
    const Snapshot before = take_whole_snapshot();
    const auto on_another_host = [] {
        ASSERT_EQ(unshare(CLONE_NEWUTS), 0);
        ASSERT_EQ(sethostname("elsewhere", 9), 0);
    };
    const CommandRun run = run_command({"restore", folder_}, on_another_host);
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_THAT(run.errors, HasSubstr("was saved on the host agenthost.example.test, and this is elsewhere"));
    EXPECT_EQ(take_whole_snapshot(), before);
    EXPECT_EQ(run_command({"diff", folder_}, on_another_host).exit_status, 1);
    EXPECT_EQ(run_command({"restore", "--force", folder_}, on_another_host).exit_status, 0);
}

struct WrongArguments {
    Arguments arguments;
    const char* reason;
};

TEST_F(Rejection, OfWrongArguments) {
    const Snapshot before = take_whole_snapshot();
    for (const auto& [arguments, reason] :
         {WrongArguments{{}, "a command is missing"},
          WrongArguments{{"keep", "/tmp/x"}, "there is no command \"keep\""},
          WrongArguments{{"save"}, "save takes one folder"}, WrongArguments{{"save", ""}, "save takes one folder"},
          WrongArguments{{"diff", folder_, folder_}, "diff takes one folder"},
          WrongArguments{{"restore", "--all", folder_}, "options of show"},
          WrongArguments{{"save", "--json", "/tmp/x"}, "options of show"},
          WrongArguments{{"show", "--force"}, "options of restore"},
          WrongArguments{{"diff", "--remove-logs", folder_}, "options of restore"},
          WrongArguments{{"restore", "--unknown", folder_}, "there is no option --unknown"},
          WrongArguments{{"restore", "--force=yes", folder_}, "the option --force takes no argument"}}) {
        const CommandRun run = run_command(arguments);
        EXPECT_EQ(run.exit_status, 255);
        EXPECT_THAT(run.errors, HasSubstr(reason));
    }
    EXPECT_EQ(take_whole_snapshot(), before);
    EXPECT_THAT(names_in("/tmp"), testing::ElementsAre("case"));
}

TEST_F(Rejection, DoesNotApplyToHelpAndVersion) {
    for (const char* option : {"-h", "--help"}) {
        const CommandRun run = run_command({"restore", option});
        expect_status(run, 0);
        EXPECT_THAT(run.output, testing::StartsWith("Usage: zmlogstate show"));
    }
    for (const char* option : {"-V", "--version"}) {
        EXPECT_EQ(run_command({option}).output, "zmlogstate " ZMLA_COMMAND_VERSION "\n");
    }
}
