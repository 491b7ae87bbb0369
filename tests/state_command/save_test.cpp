// zmlogstate save: what it saves, and when it fails.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string>

#include "tests/state_command/state_test.h"
#include "tests/support/test_files.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

struct stat stat_of(const std::string& path) {
    struct stat state {};
    EXPECT_EQ(lstat(path.c_str(), &state), 0) << path;
    return state;
}

}  // namespace

class Save : public StateTest {
  protected:
    // Expects that a save fails and leaves nothing.
    void expect_failure(const std::string& reason, const Preparation& prepare = nullptr) const {
        const CommandRun run = run_command({"save", folder_}, prepare);
        EXPECT_EQ(run.exit_status, 255);
        EXPECT_THAT(run.errors, HasSubstr(reason));
        EXPECT_THAT(names_in("/tmp"), ElementsAre());
    }

    std::string copy_of(const std::string& path) const { return folder_ + "/files" + path; }
};

TEST_F(Save, CopiesFilesWithContentModeOwnerTimesAndAttributes) {
    give_away(storage_file);
    save();
    for (const std::string& path : {store, main_configuration, registered_file, plugin_file, storage_file}) {
        SCOPED_TRACE(path);
        const Snapshot original = take_snapshot(path.substr(0, path.rfind('/')));
        const Snapshot copies = take_snapshot(folder_);
        EXPECT_EQ(copies.at(copy_of(path)), original.at(path));
        EXPECT_EQ(stat_of(copy_of(path)).st_mtim.tv_sec, stat_of(path).st_mtim.tv_sec);
        EXPECT_EQ(stat_of(copy_of(path)).st_mtim.tv_nsec, stat_of(path).st_mtim.tv_nsec);
    }
    EXPECT_EQ(mode_of(folder_), 0700U);
}

TEST_F(Save, KeepsTheTimeOfTheLastAccess) {
    const std::array<timespec, 2> times = {timespec{.tv_sec = 1'000'000'000, .tv_nsec = 42}, timespec{}};
    ASSERT_EQ(utimensat(AT_FDCWD, store.c_str(), times.data(), 0), 0);
    save();
    EXPECT_EQ(stat_of(copy_of(store)).st_atim.tv_sec, 1'000'000'000);
    EXPECT_EQ(stat_of(copy_of(store)).st_atim.tv_nsec, 42);
}

TEST_F(Save, RecordsHostTimeAndFilesAndThatTheBrokersLevelIsUnknown) {
    remove_tree(container_file);
    make_folder(logs_folder + "/jobd");
    save();
    const std::vector<std::string> manifest = lines_of(read_file(folder_ + "/manifest"));
    EXPECT_THAT(manifest, Contains("host agenthost.example.test"));
    EXPECT_THAT(manifest, Contains(testing::MatchesRegex("time 20..-..-..T..:..:..Z")));
    EXPECT_THAT(manifest, Contains("missing " + container_file));
    EXPECT_THAT(manifest, Contains("directory " + logs_folder + "/jobd 0755 0 0"));
    EXPECT_THAT(manifest, Contains("not-known KOB kob"));
    // The digest of "#VERBOSE\n", as sha256sum prints it.
    EXPECT_THAT(manifest,
                Contains(testing::ContainsRegex("^file /usr/kumel/volmgr/vm.conf 0604 0 0 [0-9.]+ 9 "
                                                "a210624b123c2d47f76234df8f9b1577a3ab0dc6c8095ee77e1789cf04091cfd$")));
}

TEST_F(Save, ChangesNothingOutsideItsFolder) {
    const Snapshot before = take_whole_snapshot();
    save();
    EXPECT_EQ(take_whole_snapshot(), before);
    EXPECT_THAT(names_in("/tmp"), ElementsAre("case"));
}

TEST_F(Save, FollowsLinksAndSavesTargetsUnderTheirOwnNames) {
    make_folder("/usr/kumel/real");
    write_file("/usr/kumel/real/qr.conf", "SERVER = localhost\n");
    remove_tree(main_configuration);
    make_link("../real/./qr.conf", main_configuration);
    save();
    EXPECT_EQ(read_file(copy_of("/usr/kumel/real/qr.conf")), "SERVER = localhost\n");
    EXPECT_THAT(lines_of(read_file(folder_ + "/manifest")),
                Contains("link " + main_configuration + " ../real/./qr.conf"));
}

TEST_F(Save, DoesNotFollowALinkThatOthersCanMake) {
    const std::string folder = "/usr/kumel/volmgr";
    write_file("/opt/secret", "secret\n");
    remove_tree(volume_manager_file);
    make_link("/opt/secret", volume_manager_file);
    for (const unsigned mode : {0775U, 0757U, 01777U}) {
        set_mode(folder, mode);
        const CommandRun run = run_command({"save", folder_});
        EXPECT_EQ(run.exit_status, 2);
        EXPECT_EQ(run.errors,
                  "zmlogstate: cannot read /opt/secret: reached only through a link that other users can change\n");
        EXPECT_FALSE(exists(copy_of("/opt/secret")));
        EXPECT_THAT(lines_of(read_file(folder_ + "/manifest")),
                    Contains("link " + volume_manager_file + " /opt/secret"));
        write_file("/opt/secret", "changed\n");
        const CommandRun restore = run_command({"restore", folder_});
        EXPECT_EQ(restore.exit_status, 2);
        EXPECT_THAT(restore.errors, HasSubstr("/opt/secret was not saved: reached only through a link"));
        EXPECT_EQ(read_file("/opt/secret"), "changed\n");
        remove_tree(folder_);
    }
}

TEST_F(Save, DoesNotFollowALinkInAFolderOfAnotherUser) {
    if (!namespace_has_several_users()) {
        GTEST_SKIP() << "no other user";
    }
    write_file("/opt/secret", "secret\n");
    remove_tree(volume_manager_file);
    make_link("/opt/secret", volume_manager_file);
    give_away("/usr/kumel/volmgr");
    EXPECT_EQ(run_command({"save", folder_}).exit_status, 2);
    EXPECT_FALSE(exists(copy_of("/opt/secret")));
}

TEST_F(Save, SavesLinksThatLeadToNoFile) {
    const std::string& loop = volume_manager_file;
    remove_tree(loop);
    remove_tree(console_file);
    make_link(loop, loop);
    make_link("/nowhere/at/all", console_file);
    const Snapshot before = take_snapshot();
    save();
    for (const std::string& path : {loop, console_file}) {
        remove_tree(path);
        write_file(path, "");
    }
    EXPECT_EQ(run_command({"diff", folder_}).exit_status, 1);
    expect_status(run_command({"restore", folder_}), 0);
    EXPECT_EQ(take_snapshot(), before);
}

TEST_F(Save, SavesAFileOnItsOwnDespiteAnUntrustedLinkToIt) {
    remove_tree(store);
    make_link(main_configuration, store);
    set_mode("/usr/kumel/ktul", 0777);
    save();
    EXPECT_EQ(read_file(copy_of(main_configuration)), read_file(main_configuration));
}

TEST_F(Save, FailsWhenTheNameIsTaken) {
    make_folder(folder_);
    EXPECT_EQ(run_command({"save", folder_}).exit_status, 255);
    EXPECT_EQ(run_command({"save", folder_ + "/"}).exit_status, 255);
    make_link("/nowhere", "/tmp/link");
    EXPECT_EQ(run_command({"save", "/tmp/link"}).exit_status, 255);
    EXPECT_EQ(run_command({"save", "/tmp/.."}).exit_status, 255);
    EXPECT_THAT(names_in("/tmp"), ElementsAre("case", "link"));
    EXPECT_THAT(names_in(folder_), ElementsAre());
}

TEST_F(Save, FailsInALogRootWhereTheFolderWouldBeALogDirectory) {
    EXPECT_EQ(run_command({"save", logs_folder + "/case"}).exit_status, 255);
    EXPECT_THAT(names_in(logs_folder), ElementsAre());
    make_folder(logs_folder + "/zmlaevidence");
    expect_status(run_command({"save", logs_folder + "/zmlaevidence/case"}), 0);
}

TEST_F(Save, AcceptsARelativeNameAndATrailingSlash) {
    expect_status(run_command({"save", "case/"}, [] { ASSERT_EQ(chdir("/tmp"), 0); }), 0);
    expect_status(run_command({"diff", "case"}, [] { ASSERT_EQ(chdir("/tmp"), 0); }), 0);
}

TEST_F(Save, FailsWithoutItsParentFolder) {
    EXPECT_EQ(run_command({"save", "/tmp/missing/case"}).exit_status, 255);
    EXPECT_THAT(names_in("/tmp"), ElementsAre());
}

TEST_F(Save, NamesAFileThatItCannotReadAndSavesTheOthers) {
    remove_tree(console_file);
    make_folder(console_file);
    const CommandRun run = run_command({"save", folder_});
    EXPECT_EQ(run.exit_status, 2);
    EXPECT_EQ(run.errors, "zmlogstate: cannot read " + console_file + ": Is a directory\n");
    EXPECT_TRUE(exists(copy_of(store)));
    // So neither command reports that nothing differs.
    const CommandRun diff = run_command({"diff", folder_});
    EXPECT_EQ(diff.exit_status, 2);
    EXPECT_EQ(diff.errors, "zmlogstate: " + console_file + " was not saved: Is a directory\n");
    EXPECT_EQ(diff.output, "");
    EXPECT_EQ(run_command({"restore", folder_}).exit_status, 2);
}

TEST_F(Save, ReportsThatItCannotReadTheRegistry) {
    remove_tree("/etc/rkregistry.cfg");
    make_folder("/etc/rkregistry.cfg");
    EXPECT_EQ(run_command({"save", folder_}).exit_status, 2);
    const CommandRun diff = run_command({"diff", folder_});
    EXPECT_EQ(diff.exit_status, 2);
    EXPECT_EQ(diff.errors, "zmlogstate: /etc/rkregistry.cfg was not saved: Is a directory\n");
}

TEST_F(Save, EscapesControlCharactersInItsMessages) {
    write_file("/etc/rkregistry.cfg", "kpa.cfg=/opt/a\x1b[2J\xc2\x9b\n");
    make_folder("/opt/a\x1b[2J\xc2\x9b");
    EXPECT_EQ(run_command({"save", folder_}).errors,
              "zmlogstate: cannot read /opt/a\\x1b[2J\\xc2\\x9b: Is a directory\n");
}

TEST_F(Save, NamesWhatIsNotAFile) {
    remove_tree(console_file);
    ASSERT_EQ(mkfifo(console_file.c_str(), 0600), 0);
    EXPECT_EQ(run_command({"save", folder_}).errors, "zmlogstate: cannot read " + console_file + ": not a file\n");
}

TEST_F(Save, LeavesNoFilesOnAFullDisk) {
    expect_failure("File too large", [] {
        const rlimit limit = {.rlim_cur = 20, .rlim_max = 20};
        setrlimit(RLIMIT_FSIZE, &limit);
    });
}

TEST_F(Save, CopiesForAnotherUserWhatThatUserMayRead) {
    if (!namespace_has_several_users()) {
        GTEST_SKIP() << "no other user";
    }
    set_mode("/tmp", 0777);
    const CommandRun run = run_command({"save", folder_}, become_another_user);
    EXPECT_EQ(run.exit_status, 2);
    EXPECT_THAT(lines_of(run.errors),
                ElementsAre("zmlogstate: cannot read " + main_configuration + ": Permission denied",
                            "zmlogstate: cannot read " + plugin_file + ": Permission denied"));
    EXPECT_EQ(read_file(copy_of(store)), read_file(store));
}

TEST_F(Save, WritesNoFileToAStandardDescriptorThatIsClosed) {
    expect_status(run_command({"save", folder_}, without_descriptors({0, 1, 2})), 0);
    expect_status(run_command({"diff", folder_}), 0);
}

TEST_F(Save, RunsTwiceAtOnceAndLeavesOneWholeState) {
    Command one({"save", folder_});
    Command other({"save", folder_});
    const std::vector<int> statuses = {one.finish().exit_status, other.finish().exit_status};
    EXPECT_THAT(statuses, testing::UnorderedElementsAre(0, 255));
    expect_status(run_command({"diff", folder_}), 0);
    EXPECT_THAT(names_in("/tmp"), ElementsAre("case"));
}

TEST_F(Save, KeepsEmptyFilesZeroBytesAndLongLines) {
    using namespace std::string_literals;
    write_file(store, "");
    write_file(container_file, "a\0b\xff\n\0"s);
    write_file(console_file, std::string(1 << 20, 'x'));
    const Snapshot before = take_snapshot();
    save();
    for (const std::string& path : {store, container_file, console_file}) {
        write_file(path, "changed\n");
    }
    expect_status(run_command({"restore", folder_}), 0);
    EXPECT_EQ(take_snapshot(), before);
}
