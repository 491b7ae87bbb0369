// Copies that an interrupted request leaves beside the files: zmlogstate restore reports them and leaves them.
#include <gmock/gmock.h>

#include <string>

#include "tests/state_command/state_test.h"
#include "tests/support/test_files.h"

class StaleCopy : public StateTest {
  protected:
    void expect_report(const std::string& copy) const {
        write_file(copy, "half of i");
        const CommandRun run = run_command({"restore", folder_});
        expect_status(run, 0);
        EXPECT_THAT(lines_of(run.output),
                    testing::Contains(copy + ": left by a change that was interrupted; not touched"));
        EXPECT_EQ(read_file(copy), "half of i");
    }
};

TEST_F(StaleCopy, OfTheKeyValueEditorIsReported) {
    save();
    expect_report(volume_manager_file + ".new");
    expect_report(registered_file + ".new");
}

TEST_F(StaleCopy, OfARewriteIsReported) {
    save();
    expect_report("/usr/kumel/zembrath/.qr.conf.new");
    expect_report("/usr/kumel/ktul/.51216.conf.new");
}

TEST_F(StaleCopy, OfTheTargetOfALinkIsReported) {
    write_file("/usr/kumel/real/qr.conf", "SERVER = localhost\n");
    remove_tree(main_configuration);
    make_link("/usr/kumel/real/qr.conf", main_configuration);
    save();
    expect_report("/usr/kumel/real/.qr.conf.new");
}
