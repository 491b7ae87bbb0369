// How the editor of key-value files replaces a file.
#include "tests/unit/key_value_replacement.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <set>
#include <string>

#include "platform/posix.h"

namespace {

using recording_platform::calls_of;

// Returns the open descriptors with their flags.
std::map<int, int> descriptors() {
    constexpr int behind_the_highest = 64;
    std::map<int, int> open;
    for (int fd = 0; fd < behind_the_highest; ++fd) {
        const int flags = fcntl(fd, F_GETFD, 0);
        if (flags != -1) {
            open.emplace(fd, flags);
        }
    }
    return open;
}

TEST_F(KeyValueFileReplacement, CreatesTheCopyBeforeTheRename) {
    set();
    unset();
    const std::string rename = "rename " + copy_ + " " + path_;
    EXPECT_EQ(calls_of("rename"), (Texts{rename, rename}));
    // The first one is the test's own.
    EXPECT_EQ(calls_of("open " + folder_.path()),
              (Texts{"open " + path_, "open " + path_, "open " + copy_, "open " + path_, "open " + copy_}));
}

TEST_F(KeyValueFileReplacement, ReadsTheFileOnceTheCopyIsThere) {
    overrides.before_call = [this](const std::string& call) {
        if (call == "open " + copy_) {
            write_file(path_, "X=7\nB\n");
        }
    };
    EXPECT_EQ(set(), 0);
    EXPECT_EQ(read_file(path_), "X=2\nB\n");
}

// The text stays the same, but the file is a new one.
TEST_F(KeyValueFileReplacement, HappensEvenWhenNoLineChanges) {
    set_mode(path_, 0600);
    EXPECT_EQ(set_parameter_value(path_, "X", "=", "2", buffer_.data(), buffer_.size(), set_flag::restore_commented),
              0);
    EXPECT_EQ(read_file(path_), "X=1\nA\n");
    EXPECT_EQ(mode_of(path_), 0644U);
    write_file(path_, "#X=1\n");
    set_mode(path_, 0600);
    EXPECT_EQ(unset_parameter(path_, "#X", "=", buffer_.data(), buffer_.size(), "#"), 0);
    EXPECT_EQ(read_file(path_), "#X=1\n");
    EXPECT_EQ(mode_of(path_), 0644U);
    EXPECT_EQ(calls_of("rename").size(), 2U);
}

TEST_F(KeyValueFileReplacement, MakesTheAgentsUserTheOwnerAndDropsAttributes) {
    for (const bool setting : {true, false}) {
        write_file(path_, "X=1\n");
        // Only root can give a file away.
        static_cast<void>(chown(path_.c_str(), 1234, 5678) == 0);
        ASSERT_EQ(setxattr(path_.c_str(), "user.note", "n", 1, 0), 0);
        EXPECT_EQ(setting ? set() : unset(), 0);
        struct stat state {};
        ASSERT_EQ(stat(path_.c_str(), &state), 0);
        EXPECT_EQ(state.st_uid, geteuid());
        EXPECT_EQ(state.st_gid, getegid());
        EXPECT_EQ(getxattr(path_.c_str(), "user.note", nullptr, 0), -1);
    }
}

TEST_F(KeyValueFileReplacement, IgnoresLocks) {
    const Descriptor locked(open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(flock(locked.get(), LOCK_EX), 0);
    EXPECT_EQ(set(), 0);
    EXPECT_EQ(unset_parameter(path_, "A", "", buffer_.data(), buffer_.size(), "#"), 0);
    EXPECT_EQ(read_file(path_), "X=2\n#A\n");
}

TEST_F(KeyValueFileReplacement, HasOnlyTheCopyOpenWhenItWrites) {
    const std::size_t before = descriptors().size();
    int writes = 0;
    overrides.watched_descriptor = next_descriptor() + 1;
    overrides.before_call = [&](const std::string& call) {
        if (call.starts_with("write ")) {
            ++writes;
            EXPECT_EQ(descriptors().size(), before + 1);
        }
    };
    EXPECT_EQ(set(), 0);
    EXPECT_EQ(writes, 2);
}

TEST_F(KeyValueFileReplacement, GivesTheFileTheModeOfANewOne) {
    for (const unsigned mode : {0600U, 0777U, 0444U}) {
        remove_tree(path_);
        write_file(path_, "X=1\n");
        set_mode(path_, mode);
        const mode_t mask = umask(022);
        EXPECT_EQ(set(), 0);
        umask(mask);
        EXPECT_EQ(mode_of(path_), 0644U);
    }
    const mode_t mask = umask(027);
    EXPECT_EQ(unset(), 0);
    umask(mask);
    EXPECT_EQ(mode_of(path_), 0640U);
}

TEST_F(KeyValueFileReplacement, ReusesAStaleCopyAndItsMode) {
    for (const bool setting : {true, false}) {
        write_file(path_, "X=1\n");
        write_file(copy_, "a stale text that is longer than the new one\n");
        set_mode(copy_, 0600);
        EXPECT_EQ(setting ? set() : unset(), 0);
        EXPECT_EQ(read_file(path_), setting ? "X=2\n" : "#X=1\n");
        EXPECT_EQ(mode_of(path_), 0600U);
        EXPECT_FALSE(exists(copy_));
    }
}

TEST_F(KeyValueFileReplacement, ReplacesALinkWithAFile) {
    const std::string link = folder_.path("link");
    make_link(path_, link);
    EXPECT_EQ(set_parameter_value(link, "X", "=", "2", buffer_.data(), buffer_.size(), set_flag::make_active), 0);
    EXPECT_EQ(read_file(link), "X=2\nA\n");
    EXPECT_EQ(read_file(path_), "X=1\nA\n");
}

TEST_F(KeyValueFileReplacement, EndsAPathAtAZeroByte) {
    const std::string path = path_ + '\0' + "further";
    EXPECT_EQ(set_parameter_value(path, "X", "=", "2", buffer_.data(), buffer_.size(), set_flag::make_active), 0);
    EXPECT_EQ(read_file(path_), "X=2\nA\n");
    EXPECT_EQ(unset_parameter(path, "X", "=", buffer_.data(), buffer_.size(), "#"), 0);
    EXPECT_EQ(read_file(path_), "#X=2\nA\n");
    EXPECT_FALSE(exists(copy_));
}

TEST_F(KeyValueFileReplacement, WritesEachLineWithOneCall) {
    const std::string copy = std::to_string(next_descriptor() + 1);
    overrides.watched_descriptor = next_descriptor() + 1;
    set();
    EXPECT_EQ(calls_of("write"), (Texts{"write " + copy + " 4", "write " + copy + " 2"}));
}

TEST_F(KeyValueFileReplacement, LeaksNoDescriptorIntoAProgramStartedMeanwhile) {
    const std::map<int, int> before = descriptors();
    std::set<std::string> calls_with_files;
    overrides.watched_descriptor = next_descriptor() + 1;
    overrides.before_call = [&](const std::string& call) {
        for (const auto& [fd, flags] : descriptors()) {
            if (before.count(fd) == 0) {
                EXPECT_EQ(flags, FD_CLOEXEC) << call;
                calls_with_files.insert(call.substr(0, call.find(' ')));
            }
        }
    };
    EXPECT_EQ(set(), 0);
    EXPECT_EQ(calls_with_files, (std::set<std::string>{"open", "write"}));
}

TEST_F(KeyValueFileReplacement, HasBothFilesClosedWhenTheCopyIsRenamed) {
    const std::map<int, int> before = descriptors();
    int renames = 0;
    overrides.before_call = [&](const std::string& call) {
        if (call.starts_with("rename")) {
            ++renames;
            EXPECT_EQ(descriptors(), before);
        }
    };
    EXPECT_EQ(set(), 0);
    EXPECT_EQ(unset(), 0);
    EXPECT_EQ(renames, 2);
}

TEST_F(KeyValueFileReplacement, LeavesNoDescriptorOpen) {
    const int next = next_descriptor();
    set();
    unset();
    failures["rename"] = {EBUSY};
    set();
    remove_tree(copy_);
    make_folder(copy_);
    set();
    EXPECT_EQ(next_descriptor(), next);
}

}  // namespace
