// Opening the debug log.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <string>

#include "platform/runtime.h"
#include "tests/platform/child_process.h"
#include "tests/platform/system_calls.h"
#include "tests/support/test_files.h"

using system_calls::overrides;

namespace {

constexpr time_t noon_of_2024_02_29 = 1'709'208'000;

// At noon of 29 February 2024, universal time.
class DebugLogOpening : public testing::Test {
  protected:
    DebugLogOpening() {
        system_calls::reset();
        overrides.time_of_day = timespec{noon_of_2024_02_29, 0};
    }
    ~DebugLogOpening() override { system_calls::reset(); }

    [[nodiscard]] int open_log(int mode = 0666) const {
        int out = 0;
        return open_debug_log(root_.path().c_str(), "agent", "agent", mode, &out);
    }

    ScratchFolder root_;
    std::string log_ = root_.path("agent/log.20240229");
};

void set_time_zone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
}

}  // namespace

TEST_F(DebugLogOpening, NamesTheFileAfterTheLocalDate) {
    struct DatedName {
        const char* zone;
        const char* name;
    };
    for (const DatedName& row : {DatedName{"UTC0", "log.20240229"}, DatedName{"EAST-13", "log.20240301"},
                                 DatedName{"WEST+12", "log.20240229"}, DatedName{"WEST+13", "log.20240228"}}) {
        remove_tree(root_.path("agent"));
        EXPECT_TRUE(succeeds_in_child([&] {
            set_time_zone(row.zone);
            EXPECT_NE(open_log(), -1);
        }));
        EXPECT_EQ(names_in(root_.path("agent")), std::vector<std::string>{row.name}) << row.zone;
    }
}

TEST_F(DebugLogOpening, KeepsTheDateOnWhichTheAgentStarted) {
    EXPECT_TRUE(succeeds_in_child([&] {
        set_time_zone("UTC0");
        ASSERT_NE(open_log(), -1);
        overrides.time_of_day->tv_sec += 86400;
        logmsgf(log_level::information, "t", "the next day");
    }));
    EXPECT_EQ(names_in(root_.path("agent")), std::vector<std::string>{"log.20240229"});
    EXPECT_NE(read_file(log_).find("the next day"), std::string::npos);
}

TEST_F(DebugLogOpening, DropsMessagesBeforeIt) {
    EXPECT_TRUE(succeeds_in_child([&] {
        set_time_zone("UTC0");
        logmsgf(log_level::error, "t", "early");
        ASSERT_NE(open_log(), -1);
        logmsgf(log_level::error, "t", "late");
    }));
    EXPECT_TRUE(read_file(log_).ends_with("<16> t: late\n"));
    EXPECT_EQ(read_file(log_).find("early"), std::string::npos);
}

TEST_F(DebugLogOpening, Appends) {
    write_file(log_, "earlier\n");
    EXPECT_TRUE(succeeds_in_child([&] {
        set_time_zone("UTC0");
        ASSERT_NE(open_log(), -1);
        write_file(log_, "cut short\n");
        logmsgf(log_level::error, "t", "m");
    }));
    const std::string log = read_file(log_);
    EXPECT_TRUE(log.starts_with("cut short\n12:00:00.000 [")) << log;
}

TEST_F(DebugLogOpening, KeepsTheOldLines) {
    write_file(log_, "earlier\n");
    EXPECT_TRUE(succeeds_in_child([&] {
        set_time_zone("UTC0");
        ASSERT_NE(open_log(), -1);
        logmsgf(log_level::error, "t", "m");
    }));
    const std::string log = read_file(log_);
    EXPECT_TRUE(log.starts_with("earlier\n12:00:00.000 [")) << log;
    EXPECT_TRUE(log.ends_with("] <16> t: m\n")) << log;
}

TEST_F(DebugLogOpening, BeginsANewLineAfterALineThatAnotherProcessDidNotFinish) {
    for (const std::string before : {"x", "whole\nto", "whole\n\n\\"}) {
        write_file(log_, before);
        EXPECT_TRUE(succeeds_in_child([&] {
            set_time_zone("UTC0");
            ASSERT_NE(open_log(), -1);
            logmsgf(log_level::error, "t", "first");
            logmsgf(log_level::error, "t", "second");
        }));
        const std::string log = read_file(log_);
        EXPECT_TRUE(log.starts_with(before + "\n12:00:00.000 [")) << log;
        EXPECT_NE(log.find("] <16> t: first\n12:00:00.000 ["), std::string::npos) << log;
        EXPECT_TRUE(log.ends_with("] <16> t: second\n")) << log;
    }
}

// Another process began a new line first. Nothing of it is lost.
TEST_F(DebugLogOpening, KeepsWhatOthersWroteAfterATornLine) {
    write_file(log_, "torn");
    EXPECT_TRUE(succeeds_in_child([&] {
        set_time_zone("UTC0");
        ASSERT_NE(open_log(), -1);
        write_file(log_, "torn\nanother's\n");
        logmsgf(log_level::error, "t", "m");
    }));
    const std::string log = read_file(log_);
    EXPECT_TRUE(log.starts_with("torn\nanother's\n\n12:00:00.000 [")) << log;
}

TEST_F(DebugLogOpening, NeedsNoReadPermission) {
    write_file(log_, "earlier\n");
    set_mode(log_, 0200);
    EXPECT_TRUE(succeeds_in_child([&] {
        set_time_zone("UTC0");
        give_up_file_rights();
        ASSERT_NE(open_log(), -1);
        logmsgf(log_level::error, "t", "m");
    }));
    set_mode(log_, 0600);
    EXPECT_TRUE(read_file(log_).starts_with("earlier\n12:00:00.000 ["));
}

// On older kernels a terminal opened for writing becomes the controlling terminal, unless the flag forbids it.
TEST_F(DebugLogOpening, AcquiresNoTerminal) {
    EXPECT_TRUE(succeeds_in_child([&] {
        set_time_zone("UTC0");
        for (const char* log : {"a new one", "an existing one"}) {
            ASSERT_NE(open_log(), -1);
            EXPECT_NE(system_calls::opening_flags.at(log_) & O_NOCTTY, 0) << log;
        }
    }));
}

TEST_F(DebugLogOpening, CreatesTheFileWithTheModeLessTheUmask) {
    struct Modes {
        mode_t mask;
        int mode;
        unsigned file;
        unsigned folder;
    };
    for (const Modes& row : {Modes{0, 0666, 0666, 0755}, Modes{022, 0666, 0644, 0755}, Modes{077, 0666, 0600, 0700},
                             Modes{0, 0640, 0640, 0755}}) {
        remove_tree(root_.path("agent"));
        EXPECT_TRUE(succeeds_in_child([&] {
            set_time_zone("UTC0");
            umask(row.mask);
            EXPECT_NE(open_log(row.mode), -1);
        }));
        EXPECT_EQ(mode_of(log_), row.file);
        EXPECT_EQ(mode_of(root_.path("agent")), row.folder);
    }
}

TEST_F(DebugLogOpening, KeepsTheModesOfExistingFiles) {
    write_file(log_, "");
    set_mode(log_, 0600);
    set_mode(root_.path("agent"), 0711);
    EXPECT_TRUE(succeeds_in_child([&] {
        set_time_zone("UTC0");
        EXPECT_NE(open_log(), -1);
    }));
    EXPECT_EQ(mode_of(log_), 0600U);
    EXPECT_EQ(mode_of(root_.path("agent")), 0711U);
}

TEST_F(DebugLogOpening, DoesNotCreateTheRoot) {
    EXPECT_TRUE(succeeds_in_child([&] {
        int out = 0;
        EXPECT_EQ(open_debug_log(root_.path("missing").c_str(), "agent", "agent", 0666, &out), -1);
        logmsgf(log_level::error, "t", "dropped");
    }));
    EXPECT_FALSE(exists(root_.path("missing")));
}

// Nobody reads the FIFO, so opening it like a file would wait forever.
TEST_F(DebugLogOpening, FailsWhenTheFileIsAFifo) {
    make_folder(root_.path("agent"));
    ASSERT_EQ(mkfifo(log_.c_str(), 0600), 0);
    EXPECT_TRUE(succeeds_in_child([&] {
        set_time_zone("UTC0");
        EXPECT_EQ(open_log(), -1);
        logmsgf(log_level::error, "t", "dropped");
    }));
}

TEST_F(DebugLogOpening, FailsWhenTheFolderIsAFile) {
    write_file(root_.path("agent"), "a file");
    EXPECT_TRUE(succeeds_in_child([&] {
        EXPECT_EQ(open_log(), -1);
        logmsgf(log_level::error, "t", "dropped");
    }));
    EXPECT_EQ(read_file(root_.path("agent")), "a file");
}

TEST_F(DebugLogOpening, FailsWhenTheFileIsAFolder) {
    make_folder(log_);
    EXPECT_TRUE(succeeds_in_child([&] {
        set_time_zone("UTC0");
        EXPECT_EQ(open_log(), -1);
        logmsgf(log_level::error, "t", "dropped");
    }));
    EXPECT_TRUE(names_in(log_).empty());
}

TEST_F(DebugLogOpening, FailsWhenTheFileMayNotBeCreated) {
    make_folder(root_.path("agent"));
    set_mode(root_.path("agent"), 0555);
    EXPECT_TRUE(succeeds_in_child([&] {
        give_up_file_rights();
        EXPECT_EQ(open_log(), -1);
        logmsgf(log_level::error, "t", "dropped");
    }));
    EXPECT_TRUE(names_in(root_.path("agent")).empty());
}

TEST_F(DebugLogOpening, DoesNotTouchTheOutValue) {
    EXPECT_TRUE(succeeds_in_child([&] {
        int out = 4711;
        EXPECT_NE(open_debug_log(root_.path().c_str(), "agent", "agent", 0666, &out), -1);
        EXPECT_EQ(out, 4711);
    }));
}

TEST_F(DebugLogOpening, ReturnsTheDescriptorOfTheLog) {
    EXPECT_TRUE(succeeds_in_child([&] {
        set_time_zone("UTC0");
        const int log = open_log();
        struct stat opened {};
        struct stat named {};
        ASSERT_EQ(fstat(log, &opened), 0);
        ASSERT_EQ(stat(log_.c_str(), &named), 0);
        EXPECT_EQ(opened.st_ino, named.st_ino);
        EXPECT_EQ(opened.st_dev, named.st_dev);
    }));
}

TEST_F(DebugLogOpening, ReturnsADescriptorThatIsClosedOnExec) {
    EXPECT_TRUE(succeeds_in_child([&] { EXPECT_EQ(fcntl(open_log(), F_GETFD), FD_CLOEXEC); }));
}

// The number of a closed standard stream is the lowest free one.
TEST_F(DebugLogOpening, IsNeverAStandardStream) {
    for (int closed = 1; closed < 8; ++closed) {
        EXPECT_TRUE(succeeds_in_child([&] {
            for (int fd = 0; fd < 3; ++fd) {
                if ((closed & 1 << fd) != 0) {
                    close(fd);
                }
            }
            const int log = open_log();
            EXPECT_GT(log, 2);
            EXPECT_EQ(fcntl(log, F_GETFD), FD_CLOEXEC);
            for (int fd = 0; fd < 3; ++fd) {
                EXPECT_EQ(fcntl(fd, F_GETFD) == -1, (closed & 1 << fd) != 0) << "descriptor " << fd;
            }
        })) << closed;
    }
}
