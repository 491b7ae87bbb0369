#include "agent/process_setup.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>

#include "platform/status_codes.h"
#include "tests/unit/agent_test.h"

namespace {

using recording_platform::calls;
using recording_platform::calls_of;
using recording_platform::messages;

using log_level::error;
using log_level::information;

bool is_null_device(int fd) {
    struct stat examined {};
    return fstat(fd, &examined) == 0 && S_ISCHR(examined.st_mode) && examined.st_rdev == makedev(1, 3);
}

class MyexitStatus : public AgentTest {
  protected:
    static int exit_status_of(int status) {
        return run_in_child([&]() -> int { myexit(status); });
    }
};

TEST_F(MyexitStatus, IsPassedThroughBelow255) {
    EXPECT_EQ(exit_status_of(0), 0);
    EXPECT_EQ(exit_status_of(135), 135);
    EXPECT_EQ(exit_status_of(254), 254);
}

TEST_F(MyexitStatus, Is252From255On) {
    EXPECT_EQ(exit_status_of(255), 252);
    EXPECT_EQ(exit_status_of(256), 252);
    EXPECT_EQ(exit_status_of(5763), 252);
}

TEST_F(MyexitStatus, IsPassedThroughWhenItIsNegative) {
    EXPECT_EQ(exit_status_of(-1), 255);
    EXPECT_EQ(exit_status_of(-3), 253);
}

class MywinsockStart : public AgentTest {};

TEST_F(MywinsockStart, DoesNothingOnLinux) {
    mywinsock_start();
    EXPECT_EQ(calls(), Texts{"mywinsock_start"});  // the call itself
    EXPECT_EQ(messages(), Lines{});
}

class RedirectFd : public AgentTest {};

TEST_F(RedirectFd, PointsAnOpenDescriptorAtTheNullDevice) {
    const Descriptor file(open("/", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(redirect_fd(file.get()), 0);
    EXPECT_TRUE(is_null_device(file.get()));
    EXPECT_EQ(fcntl(file.get(), F_GETFL) & O_ACCMODE, O_RDWR);
    EXPECT_EQ(messages(), Lines{});
}

TEST_F(RedirectFd, LeavesNoOtherDescriptorOpen) {
    const Descriptor file(open("/", O_RDONLY | O_CLOEXEC));
    const int next = next_descriptor();
    redirect_fd(file.get());
    EXPECT_EQ(next_descriptor(), next);
}

TEST_F(RedirectFd, FailsWhenTheNullDeviceCannotBeOpened) {
    failures["open /dev/null"] = {EMFILE};
    EXPECT_EQ(redirect_fd(STDIN_FILENO), -1);
    EXPECT_EQ(messages(), (Lines{{error, "redirect_fd", "failed to open /dev/null"}}));
    EXPECT_EQ(calls_of("dup2"), Texts{});
}

TEST_F(RedirectFd, FailsForAClosedDescriptorAndLeavesItClosed) {
    const int closed = next_descriptor();
    EXPECT_EQ(redirect_fd(closed), -1);
    EXPECT_EQ(messages(), (Lines{{error, "redirect_fd", "Can't redirect fd to itself FD=" + std::to_string(closed)}}));
    EXPECT_EQ(next_descriptor(), closed);
}

TEST_F(RedirectFd, ReportsAFailingDuplicationOnlyInTheLog) {
    const Descriptor file(open("/", O_RDONLY | O_CLOEXEC));
    const int next = next_descriptor();
    failures["dup2"] = {EBUSY};
    EXPECT_EQ(redirect_fd(file.get()), 0);
    EXPECT_EQ(messages(), (Lines{{error, "redirect_fd",
                                  "dup failed fd=" + std::to_string(next) + " new=" + std::to_string(file.get())}}));
    EXPECT_FALSE(is_null_device(file.get()));
    EXPECT_EQ(next_descriptor(), next);
}

class SetupCommsWithClient : public AgentTest {
  protected:
    static constexpr const char* tag = "setup_comms_w_client";

    static void expect_refusal(int status, const std::string& text) {
        EXPECT_EQ(setup_comms_w_client(5), status);
        EXPECT_EQ(messages(), (Lines{{error, tag, text}}));
    }

    static void expect_acceptance() {
        EXPECT_EQ(setup_comms_w_client(5), 0);
        EXPECT_EQ(messages(), (Lines{{information, tag, "verified credentials of peer"}}));
    }
};

TEST_F(SetupCommsWithClient, VerifiesForTheServiceWithClearedResultsAndSixtySeconds) {
    setup_comms_w_client(5);
    EXPECT_EQ(calls(), (Texts{"xnet_verify_peer_creds 5 1515015233 1 0 0 null 60"}));
}

TEST_F(SetupCommsWithClient, AcceptsRootOnAServer) {
    script.peer_flags = 0x42;
    expect_acceptance();
}

TEST_F(SetupCommsWithClient, AcceptsAPrivilegedUserOnAServer) {
    script.peer_flags = 0x102;
    expect_acceptance();
}

TEST_F(SetupCommsWithClient, ReturnsTheStatusOfAFailedVerification) {
    script.verification_fails = 7641;
    expect_refusal(7641, "failed to accept connection SC=7641 (text of 7641)");
}

TEST_F(SetupCommsWithClient, ReturnsANegativeStatusOfAFailedVerification) {
    script.verification_fails = -1;
    expect_refusal(-1, "failed to accept connection SC=-1 (text of -1)");
}

TEST_F(SetupCommsWithClient, RejectsAHostThatIsNotInTheServerList) {
    script.peer_flags = 0x40;
    expect_refusal(5762, "peer not in SERVER list");
}

TEST_F(SetupCommsWithClient, ChecksTheHostBeforeTheUser) {
    script.peer_flags = 0x80;
    expect_refusal(5762, "peer not in SERVER list");
}

TEST_F(SetupCommsWithClient, RejectsAnUnknownUser) {
    script.peer_flags = 0x82;
    expect_refusal(135, "peer user info unavailable");
}

TEST_F(SetupCommsWithClient, RejectsAnUnknownUserEvenWithTheFlagsOfRoot) {
    script.peer_flags = 0x1c2;
    script.user_type = 0;
    expect_refusal(135, "peer user info unavailable");
}

TEST_F(SetupCommsWithClient, RejectsAnOrdinaryUser) {
    script.peer_flags = 0x2;
    expect_refusal(135, "peer is not root user");
}

TEST_F(SetupCommsWithClient, AcceptsUsersOfAnotherTypeWithAnyFlags) {
    for (const std::uint32_t type : {0U, 1U, 3U, 0xffffffffU}) {
        recording_platform::reset();
        script.peer_flags = 0x2;
        script.user_type = type;
        expect_acceptance();
    }
}

TEST_F(SetupCommsWithClient, IgnoresUnknownBits) {
    script.peer_flags = 0xfffffe3d | 0x2;
    expect_refusal(135, "peer is not root user");
}

}  // namespace
