// How the editor of key-value files fails to replace a file, and what it reports.
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <string>

#include "tests/unit/key_value_replacement.h"

namespace {

using log_level::error;
using log_level::warning;
using recording_platform::messages;

TEST_F(KeyValueFileReplacement, FailsForAMissingFileAndCreatesNone) {
    remove_tree(path_);
    const std::string text = "Could not open file " + path_ + " E=2 (No such file or directory)";
    EXPECT_EQ(set(), 5803);
    expect_reported("set_parameter_value", text);
    EXPECT_EQ(unset(), 5804);
    expect_reported("unset_parameter", text);
    EXPECT_FALSE(exists(path_));
    EXPECT_FALSE(exists(copy_));
}

TEST_F(KeyValueFileReplacement, FailsWhenTheFolderIsAFile) {
    const std::string below = path_ + "/below";
    EXPECT_EQ(set_parameter_value(below, "X", "=", "2", buffer_.data(), buffer_.size(), set_flag::make_active), 5803);
    expect_reported("set_parameter_value", "Could not open file " + below + " E=20 (Not a directory)");
}

TEST_F(KeyValueFileReplacement, FailsWhenNoCopyCanBeWritten) {
    make_folder(copy_);
    const std::string text = "Could not open file " + copy_ + " for writing E=21 (Is a directory)";
    EXPECT_EQ(set(), 5803);
    expect_reported("set_parameter_value", text);
    EXPECT_EQ(unset(), 5804);
    expect_reported("unset_parameter", text);
    EXPECT_EQ(read_file(path_), "X=1\nA\n");
}

TEST_F(KeyValueFileReplacement, WritesNoCopyWhenThereIsNothingToUnset) {
    make_folder(copy_);
    EXPECT_EQ(unset_parameter(path_, "Y", "=", buffer_.data(), buffer_.size(), "#"), 0);
}

TEST_F(KeyValueFileReplacement, WritesACopyEvenWhenNothingChanges) {
    make_folder(copy_);
    EXPECT_EQ(set_parameter_value(path_, "X", "=", "2", buffer_.data(), buffer_.size(), set_flag::restore_commented),
              5803);
}

TEST_F(KeyValueFileReplacement, LeavesTheCopyWhenItCannotBeRenamed) {
    const std::string text = "Failed to rename " + copy_ + " to " + path_ + " E=16 (Device or resource busy)";
    failures["rename"] = {EBUSY, EBUSY};
    EXPECT_EQ(set(), 5803);
    expect_reported("set_parameter_value", text);
    EXPECT_EQ(read_file(copy_), "X=2\nA\n");
    EXPECT_EQ(unset(), 5804);
    expect_reported("unset_parameter", text);
    EXPECT_EQ(read_file(copy_), "#X=1\nA\n");
    EXPECT_EQ(read_file(path_), "X=1\nA\n");
}

TEST_F(KeyValueFileReplacement, FailsToReplaceAFolder) {
    remove_tree(path_);
    make_folder(path_);
    EXPECT_EQ(set(), 5803);
    expect_reported("set_parameter_value", "Failed to rename " + copy_ + " to " + path_ + " E=21 (Is a directory)");
    EXPECT_EQ(read_file(copy_), "X=2\n");
}

TEST_F(KeyValueFileReplacement, ReportsTheNoticeAndThenTheFailure) {
    failures["rename"] = {EBUSY};
    EXPECT_EQ(set_parameter_value(path_, "Y", "=", "2", buffer_.data(), buffer_.size(), set_flag::restore_commented),
              5803);
    const std::string failure = "Failed to rename " + copy_ + " to " + path_ + " E=16 (Device or resource busy)";
    EXPECT_EQ(messages(), (Lines{{warning, "set_parameter_value", "Parameter Y is not set in file " + path_},
                                 {error, "set_parameter_value", failure}}));
    EXPECT_EQ(buffer_.data(), failure);
}

TEST_F(KeyValueFileReplacement, DoesNotWriteThroughALinkAtTheCopysPath) {
    const std::string other = folder_.path("other");
    write_file(other, "kept");
    make_link(other, copy_);
    const std::string text = "Could not open file " + copy_ + " for writing E=40 (Too many levels of symbolic links)";
    EXPECT_EQ(set(), 5803);
    expect_reported("set_parameter_value", text);
    EXPECT_EQ(unset(), 5804);
    expect_reported("unset_parameter", text);
    EXPECT_EQ(read_file(other), "kept");
}

TEST_F(KeyValueFileReplacement, IgnoresThatALineCouldNotBeWritten) {
    // Setting opens the copy second. Unsetting closes the file first, so the copy gets the first descriptor.
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

// This process may not write files of the size of the copy.
TEST_F(KeyValueFileReplacement, FailsWhenTheCopyWouldBeLargerThanThisProcessMayWrite) {
    const std::string text = "X=1\n" + std::string(100'000, 'x') + "\nlast\n";
    write_file(path_, text);
    const auto with_limit = [](const auto& operation) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {.rlim_cur = 65536, .rlim_max = 65536};
        setrlimit(RLIMIT_FSIZE, &limit);
        return operation();
    };
    const std::string message = "Could not open file " + copy_ + " for writing E=27 (File too large)";
    EXPECT_EQ(
        run_in_child([&] { return with_limit([&] { return set() == 5803 && message == buffer_.data() ? 0 : 1; }); }),
        0);
    EXPECT_EQ(
        run_in_child([&] { return with_limit([&] { return unset() == 5804 && message == buffer_.data() ? 0 : 1; }); }),
        0);
    EXPECT_EQ(recording_platform::child_messages(),
              (Lines{{error, "set_parameter_value", message}, {error, "unset_parameter", message}}));
    EXPECT_EQ(read_file(path_), text);
}

// The caller's buffer.
class ErrorBuffer : public KeyValueFileReplacement {
  protected:
    // Reports a failure of each operation to a buffer of this many bytes.
    void expect_bounded(unsigned long size) {
        const std::string whole = "Could not open file " + missing_ + " E=2 (No such file or directory)";
        const std::string message = whole.substr(0, size - 1);
        for (const bool setting : {true, false}) {
            recording_platform::reset();
            std::string buffer(200, '~');
            if (setting) {
                EXPECT_EQ(set_parameter_value(missing_, "X", "=", "2", buffer.data(), size, set_flag::make_active),
                          5803);
            } else {
                EXPECT_EQ(unset_parameter(missing_, "X", "=", buffer.data(), size, "#"), 5804);
            }
            EXPECT_EQ(buffer.substr(0, message.size() + 1), message + '\0');
            EXPECT_EQ(buffer.substr(message.size() + 1), std::string(200 - message.size() - 1, '~'));
            EXPECT_EQ(messages().at(0).text, message);
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
    EXPECT_EQ(set_parameter_value(path, "X", "=", "2", buffer_.data(), buffer_.size(), set_flag::make_active), 5803);
    EXPECT_EQ(buffer_.data(), ("Could not open file " + path).substr(0, 1023));
}

TEST_F(ErrorBuffer, IsNotChangedBySuccess) {
    std::fill(buffer_.begin(), buffer_.end(), '~');
    const std::array<char, 1024> filled = buffer_;
    EXPECT_EQ(set(), 0);
    EXPECT_EQ(unset(), 0);
    EXPECT_EQ(buffer_, filled);
}

}  // namespace
