// How the editor of key-value files replaces a file, and how that fails.

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <map>
#include <set>
#include <string>

#include "logging_config/key_value_file.h"
#include "platform/posix.h"
#include "tests/unit/agent_test.h"

namespace {

using recording_platform::calls_of;
using recording_platform::messages;

using log_level::error;

// What is open, with the flags of each.
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

// Both operations on one file.
class KeyValueFileReplacement : public AgentTest {
  protected:
    KeyValueFileReplacement() { write_file(path_, "X=1\nA\n"); }

    int set() { return set_parameter_value(path_, "X", "=", "2", buffer_.data(), buffer_.size(), 1); }
    int unset() { return unset_parameter(path_, "X", "=", buffer_.data(), buffer_.size(), "#"); }

    void expect_told(const char* operation, const std::string& text) {
        EXPECT_EQ(buffer_.data(), text);
        EXPECT_EQ(messages(), (Lines{{error, operation, text}}));
        for (const auto& message : recording_platform::messages_in_full()) {
            EXPECT_EQ(message.format, "%s");
        }
        recording_platform::reset();
    }

    ScratchFolder folder_;
    const std::string path_ = folder_.path("component%s.conf");
    const std::string copy_ = path_ + ".new";
    std::array<char, 1024> buffer_{};
};

TEST_F(KeyValueFileReplacement, FailsForAMissingFileAndCreatesNone) {
    remove_tree(path_);
    const std::string text = "Could not open file " + path_ + " E=2 (No such file or directory)";
    EXPECT_EQ(set(), 5803);
    expect_told("set_parameter_value", text);
    EXPECT_EQ(unset(), 5804);
    expect_told("unset_parameter", text);
    EXPECT_FALSE(exists(path_));
    EXPECT_FALSE(exists(copy_));
}

TEST_F(KeyValueFileReplacement, FailsWhenTheFolderIsNone) {
    const std::string below = path_ + "/below";
    EXPECT_EQ(set_parameter_value(below, "X", "=", "2", buffer_.data(), buffer_.size(), 1), 5803);
    expect_told("set_parameter_value", "Could not open file " + below + " E=20 (Not a directory)");
}

TEST_F(KeyValueFileReplacement, FailsWhenNoCopyCanBeWritten) {
    make_folder(copy_);
    const std::string text = "Could not open file " + copy_ + " for writing E=21 (Is a directory)";
    EXPECT_EQ(set(), 5803);
    expect_told("set_parameter_value", text);
    EXPECT_EQ(unset(), 5804);
    expect_told("unset_parameter", text);
    EXPECT_EQ(read_file(path_), "X=1\nA\n");
}

TEST_F(KeyValueFileReplacement, NeedsNoCopyWhenNothingIsToBeUnset) {
    make_folder(copy_);
    EXPECT_EQ(unset_parameter(path_, "Y", "=", buffer_.data(), buffer_.size(), "#"), 0);
}

TEST_F(KeyValueFileReplacement, NeedsACopyAlsoWhenNothingWillChange) {
    make_folder(copy_);
    EXPECT_EQ(set_parameter_value(path_, "X", "=", "2", buffer_.data(), buffer_.size(), 0), 5803);
}

TEST_F(KeyValueFileReplacement, LeavesTheCopyWhenItCannotBeRenamed) {
    const std::string text = "Failed to rename " + copy_ + " to " + path_ + " E=16 (Device or resource busy)";
    failures["rename"] = {EBUSY, EBUSY};
    EXPECT_EQ(set(), 5803);
    expect_told("set_parameter_value", text);
    EXPECT_EQ(read_file(copy_), "X=2\nA\n");
    EXPECT_EQ(unset(), 5804);
    expect_told("unset_parameter", text);
    EXPECT_EQ(read_file(copy_), "#X=1\nA\n");
    EXPECT_EQ(read_file(path_), "X=1\nA\n");
}

TEST_F(KeyValueFileReplacement, FailsToReplaceAFolder) {
    remove_tree(path_);
    make_folder(path_);
    EXPECT_EQ(set(), 5803);
    expect_told("set_parameter_value", "Failed to rename " + copy_ + " to " + path_ + " E=21 (Is a directory)");
    EXPECT_EQ(read_file(copy_), "X=2\n");
}

TEST_F(KeyValueFileReplacement, TellsTheNoticeAndThenTheFailure) {
    failures["rename"] = {EBUSY};
    EXPECT_EQ(set_parameter_value(path_, "Y", "=", "2", buffer_.data(), buffer_.size(), 0), 5803);
    const std::string failure = "Failed to rename " + copy_ + " to " + path_ + " E=16 (Device or resource busy)";
    EXPECT_EQ(messages(), (Lines{{8, "set_parameter_value", "Parameter Y is not set in file " + path_},
                                 {error, "set_parameter_value", failure}}));
    EXPECT_EQ(buffer_.data(), failure);
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

// What looks unchanged has been written anew all the same.
TEST_F(KeyValueFileReplacement, TakesPlaceAlsoWhenNoLineChanges) {
    set_mode(path_, 0600);
    EXPECT_EQ(set_parameter_value(path_, "X", "=", "2", buffer_.data(), buffer_.size(), 0), 0);
    EXPECT_EQ(read_file(path_), "X=1\nA\n");
    EXPECT_EQ(mode_of(path_), 0644U);
    write_file(path_, "#X=1\n");
    set_mode(path_, 0600);
    EXPECT_EQ(unset_parameter(path_, "#X", "=", buffer_.data(), buffer_.size(), "#"), 0);
    EXPECT_EQ(read_file(path_), "#X=1\n");
    EXPECT_EQ(mode_of(path_), 0644U);
    EXPECT_EQ(calls_of("rename").size(), 2U);
}

TEST_F(KeyValueFileReplacement, GivesTheFileToTheAgentsUserWithoutItsAttributes) {
    for (const bool setting : {true, false}) {
        write_file(path_, "X=1\n");
        // Only root can give a file away.
        (void)!chown(path_.c_str(), 1234, 5678);
        ASSERT_EQ(setxattr(path_.c_str(), "user.note", "n", 1, 0), 0);
        EXPECT_EQ(setting ? set() : unset(), 0);
        struct stat state {};
        ASSERT_EQ(stat(path_.c_str(), &state), 0);
        EXPECT_EQ(state.st_uid, geteuid());
        EXPECT_EQ(state.st_gid, getegid());
        EXPECT_EQ(getxattr(path_.c_str(), "user.note", nullptr, 0), -1);
    }
}

TEST_F(KeyValueFileReplacement, WaitsForNoLock) {
    const Descriptor locked(open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(flock(locked.get(), LOCK_EX), 0);
    EXPECT_EQ(set(), 0);
    EXPECT_EQ(unset_parameter(path_, "A", "", buffer_.data(), buffer_.size(), "#"), 0);
    EXPECT_EQ(read_file(path_), "X=2\n#A\n");
}

TEST_F(KeyValueFileReplacement, HasTheCopyAloneOpenWhenItWrites) {
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

TEST_F(KeyValueFileReplacement, GivesTheModeOfANewFile) {
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

TEST_F(KeyValueFileReplacement, UsesAStaleCopyWithItsOwnMode) {
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

TEST_F(KeyValueFileReplacement, DoesNotWriteThroughALinkInThePlaceOfTheCopy) {
    const std::string other = folder_.path("other");
    write_file(other, "kept");
    make_link(other, copy_);
    const std::string text = "Could not open file " + copy_ + " for writing E=40 (Too many levels of symbolic links)";
    EXPECT_EQ(set(), 5803);
    expect_told("set_parameter_value", text);
    EXPECT_EQ(unset(), 5804);
    expect_told("unset_parameter", text);
    EXPECT_EQ(read_file(other), "kept");
}

TEST_F(KeyValueFileReplacement, PutsAFileInThePlaceOfALink) {
    const std::string link = folder_.path("link");
    make_link(path_, link);
    EXPECT_EQ(set_parameter_value(link, "X", "=", "2", buffer_.data(), buffer_.size(), 1), 0);
    EXPECT_EQ(read_file(link), "X=2\nA\n");
    EXPECT_EQ(read_file(path_), "X=1\nA\n");
}

TEST_F(KeyValueFileReplacement, IgnoresThatALineCouldNotBeWritten) {
    // The copy is opened second when setting, and first, once the file has been closed, when unsetting.
    overrides.watched_descriptor = next_descriptor() + 1;
    overrides.writes = {{.accepted = -1, .error = ENOSPC}};
    EXPECT_EQ(set(), 0);
    EXPECT_EQ(read_file(path_), "A\n");
    write_file(path_, "X=1\nA\n");
    overrides.watched_descriptor = next_descriptor();
    overrides.writes = {{.accepted = -1, .error = EIO}};
    EXPECT_EQ(unset(), 0);
    EXPECT_EQ(read_file(path_), "A\n");
    EXPECT_EQ(messages(), Lines{});
    EXPECT_STREQ(buffer_.data(), "");
}

// A file that has no room for its copy: this process may not write files of its size.
TEST_F(KeyValueFileReplacement, FailsWhenTheCopyWouldBeLargerThanThisProcessMayWrite) {
    const std::string text = "X=1\n" + std::string(100'000, 'x') + "\nlast\n";
    write_file(path_, text);
    const auto with_limit = [](const auto& operation) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {.rlim_cur = 65536, .rlim_max = 65536};
        setrlimit(RLIMIT_FSIZE, &limit);
        return operation();
    };
    const std::string told = "Could not open file " + copy_ + " for writing E=27 (File too large)";
    EXPECT_EQ(run_in_child([&] { return with_limit([&] { return set() == 5803 && told == buffer_.data() ? 0 : 1; }); }),
              0);
    EXPECT_EQ(
        run_in_child([&] { return with_limit([&] { return unset() == 5804 && told == buffer_.data() ? 0 : 1; }); }), 0);
    EXPECT_EQ(recording_platform::child_messages(),
              (Lines{{error, "set_parameter_value", told}, {error, "unset_parameter", told}}));
    EXPECT_EQ(read_file(path_), text);
}

TEST_F(KeyValueFileReplacement, EndsANameWhereTheSystemDoes) {
    const std::string path = path_ + '\0' + "further";
    EXPECT_EQ(set_parameter_value(path, "X", "=", "2", buffer_.data(), buffer_.size(), 1), 0);
    EXPECT_EQ(read_file(path_), "X=2\nA\n");
    EXPECT_EQ(unset_parameter(path, "X", "=", buffer_.data(), buffer_.size(), "#"), 0);
    EXPECT_EQ(read_file(path_), "#X=2\nA\n");
    EXPECT_FALSE(exists(copy_));
}

TEST_F(KeyValueFileReplacement, WritesEachLineAtOnce) {
    const std::string copy = std::to_string(next_descriptor() + 1);
    overrides.watched_descriptor = next_descriptor() + 1;
    set();
    EXPECT_EQ(calls_of("write"), (Texts{"write " + copy + " 4", "write " + copy + " 2"}));
}

TEST_F(KeyValueFileReplacement, HandsNoDescriptorToAProgramThatIsStartedMeanwhile) {
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

// The caller's buffer.
class ErrorBuffer : public KeyValueFileReplacement {
  protected:
    // Lets a failure of each operation be told to a buffer of so many bytes.
    void expect_bounded(unsigned long size) {
        const std::string whole = "Could not open file " + missing_ + " E=2 (No such file or directory)";
        const std::string told = whole.substr(0, size - 1);
        for (const bool setting : {true, false}) {
            recording_platform::reset();
            std::string buffer(200, '~');
            if (setting) {
                EXPECT_EQ(set_parameter_value(missing_, "X", "=", "2", buffer.data(), size, 1), 5803);
            } else {
                EXPECT_EQ(unset_parameter(missing_, "X", "=", buffer.data(), size, "#"), 5804);
            }
            EXPECT_EQ(buffer.substr(0, told.size() + 1), told + '\0');
            EXPECT_EQ(buffer.substr(told.size() + 1), std::string(200 - told.size() - 1, '~'));
            EXPECT_EQ(messages().at(0).text, told);
        }
    }

    const std::string missing_ = folder_.path("missing");
};

TEST_F(ErrorBuffer, IsNeverOverrun) {
    const unsigned long length = ("Could not open file " + missing_ + " E=2 (No such file or directory)").size();
    for (const unsigned long size : {1UL, 2UL, 10UL, length, length + 1, length + 2}) {
        expect_bounded(size);
    }
}

TEST_F(ErrorBuffer, CutsALongPath) {
    const std::string path = "/missing/" + std::string(1500, 'x');
    EXPECT_EQ(set_parameter_value(path, "X", "=", "2", buffer_.data(), buffer_.size(), 1), 5803);
    EXPECT_EQ(buffer_.data(), ("Could not open file " + path).substr(0, 1023));
}

TEST_F(ErrorBuffer, StaysAsItIsWhenThereIsNothingToTell) {
    std::fill(buffer_.begin(), buffer_.end(), '~');
    const std::array<char, 1024> filled = buffer_;
    EXPECT_EQ(set(), 0);
    EXPECT_EQ(unset(), 0);
    EXPECT_EQ(buffer_, filled);
}

}  // namespace
