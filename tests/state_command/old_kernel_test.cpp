// zmlogstate on a kernel or file system that cannot rename without replacing.
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstddef>
#include <vector>

#include "tests/state_command/state_test.h"
#include "tests/support/test_files.h"

using testing::ElementsAre;

namespace {

// Makes renameat2 fail with the error number.
Preparation without_renameat2(int error) {
    return [error] {
        std::vector<sock_filter> filter = {
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 0, 1),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error)),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        };
        const sock_fprog program = {.len = static_cast<unsigned short>(filter.size()), .filter = filter.data()};
        ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
        ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
    };
}

}  // namespace

class OldKernel : public StateTest, public testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(With, OldKernel, testing::Values(ENOSYS, EINVAL));

TEST_P(OldKernel, LetsASaveFinish) {
    expect_status(run_command({"save", folder_}, without_renameat2(GetParam())), 0);
    expect_status(run_command({"diff", folder_}), 0);
    EXPECT_EQ(mode_of(folder_), 0700U);
    EXPECT_THAT(names_in("/tmp"), ElementsAre("case"));
}

TEST_P(OldKernel, LetsARestoreMakeLogDirectories) {
    const std::string path = logs_folder + "/jobd";
    make_folder(path);
    set_mode(path, 01750);
    save();
    remove_tree(path);
    write_file(path, "in the way");
    EXPECT_EQ(run_command({"restore", folder_}, without_renameat2(GetParam())).exit_status, 1);
    EXPECT_THAT(names_in(logs_folder), ElementsAre("jobd"));
    remove_tree(path);
    expect_status(run_command({"restore", folder_}, without_renameat2(GetParam())), 0);
    EXPECT_EQ(mode_of(path), 01750U);
    EXPECT_THAT(names_in(logs_folder), ElementsAre("jobd"));
}

class RefusedRename : public StateTest {};

TEST_F(RefusedRename, MakesASaveFailAndLeaveNoFiles) {
    const CommandRun run = run_command({"save", folder_}, without_renameat2(EROFS));
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_EQ(run.errors, "zmlogstate: cannot name the new folder /tmp/case: Read-only file system\n");
    EXPECT_THAT(names_in("/tmp"), ElementsAre());
}
