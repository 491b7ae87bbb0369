// The order in which a file is restored, and what remains when that fails.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "platform/library/put_back.h"
#include "tests/platform/system_calls.h"
#include "tests/support/failing_calls.h"
#include "tests/support/product_tree.h"
#include "tests/support/test_files.h"

namespace fs = std::filesystem;

using failing_calls::always;
using failing_calls::failures;
using system_calls::overrides;

namespace {

std::size_t place_of(const std::string& call) {
    const auto& journal = system_calls::journal;
    const auto place = std::find(journal.begin(), journal.end(), call);
    EXPECT_NE(place, journal.end()) << call;
    return static_cast<std::size_t>(place - journal.begin());
}

struct FailingCall {
    const char* name;
    int error;
};

class FailingPutBack : public testing::Test {
  protected:
    FailingPutBack() {
        write_file(path_, "now");
        system_calls::reset();
    }
    ~FailingPutBack() override { system_calls::reset(); }

    [[nodiscard]] int put_old_file() const {
        return platform_library::put_file(path_, {.text = "old",
                                                  .mode = 0640,
                                                  .owner = geteuid(),
                                                  .group = getegid(),
                                                  .attributes = {{"user.note", "kept"}}});
    }
    [[nodiscard]] int put_old_link() const { return platform_library::put_link(path_, "elsewhere"); }
    [[nodiscard]] int remove_new_file() const { return platform_library::remove_file(path_); }

    // Expects that the change fails with the error and leaves the file and its lock, and nothing else.
    void expect_failure(const std::function<int()>& change, int error) const {
        EXPECT_EQ(change(), error);
        EXPECT_EQ(failing_calls::reset(), "");
        system_calls::reset();
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path_)));
        EXPECT_EQ(read_file(path_), "now");
        std::vector<std::string> names = names_in(folder_.path());
        std::erase(names, "file.lock");
        EXPECT_EQ(names, std::vector<std::string>{"file"});
    }

    ScratchFolder folder_;
    const std::string path_ = folder_.path("file");
};

}  // namespace

TEST_F(FailingPutBack, FlushesTheFileBeforeTheRenameAndTheFolderAfterIt) {
    EXPECT_EQ(put_old_file(), 0);
    EXPECT_LT(place_of("lock"), place_of("write"));
    EXPECT_LT(place_of("write"), place_of("give attribute user.note"));
    EXPECT_LT(place_of("give attribute user.note"), place_of("give mode"));
    EXPECT_LT(place_of("give mode"), place_of("flush file"));
    EXPECT_LT(place_of("flush file"), place_of("rename"));
    EXPECT_LT(place_of("rename"), place_of("flush folder"));
    EXPECT_EQ(system_calls::journal.back(), "flush folder");
}

TEST_F(FailingPutBack, FlushesTheFolderAfterALink) {
    EXPECT_EQ(put_old_link(), 0);
    EXPECT_LT(place_of("lock"), place_of("rename"));
    EXPECT_LT(place_of("rename"), place_of("flush folder"));
}

TEST_F(FailingPutBack, FlushesTheFolderAfterARemoval) {
    EXPECT_EQ(remove_new_file(), 0);
    EXPECT_LT(place_of("lock"), place_of("flush folder"));
    EXPECT_FALSE(exists(path_));
}

TEST_F(FailingPutBack, HasTheOldFileUntilTheRename) {
    overrides.before_call = [this](const std::string& call) {
        if (call != "flush folder" && call != "read") {
            EXPECT_EQ(read_file(path_), "now") << call;
        }
    };
    EXPECT_EQ(put_old_file(), 0);
    overrides.before_call = nullptr;
    EXPECT_EQ(read_file(path_), "old");
}

TEST_F(FailingPutBack, LeavesTheFileWhenAnyCallBeforeTheRenameFails) {
    for (const FailingCall& row :
         {FailingCall{"flock", ENOLCK}, FailingCall{"write", ENOSPC}, FailingCall{"write", EIO},
          FailingCall{"fsetxattr", EPERM}, FailingCall{"fsetxattr", ENOSPC}, FailingCall{"flistxattr", EIO},
          FailingCall{"fchmod", EPERM}, FailingCall{"fsync file", EIO}, FailingCall{"fsync file", ENOSPC},
          FailingCall{"rename", EBUSY}, FailingCall{"rename", EXDEV}, FailingCall{"rename", EROFS}}) {
        SCOPED_TRACE(row.name);
        failures[row.name] = always(row.error);
        expect_failure([this] { return put_old_file(); }, row.error);
    }
    EXPECT_EQ(put_old_file(), 0);
}

TEST_F(FailingPutBack, LeavesTheFileWhenTheDiskIsFullBeforeTheLastByte) {
    overrides.full_disk = system_calls::FullDisk{.space = 2, .error = ENOSPC};
    expect_failure([this] { return put_old_file(); }, ENOSPC);
}

TEST_F(FailingPutBack, LeavesTheFileWhenALinkCannotReplaceIt) {
    failures["rename"] = always(EBUSY);
    expect_failure([this] { return put_old_link(); }, EBUSY);
}

TEST_F(FailingPutBack, LeavesAFileThatCannotBeRemoved) {
    failures["unlinkat"] = always(EBUSY);
    expect_failure([this] { return remove_new_file(); }, EBUSY);
}

TEST_F(FailingPutBack, IsReportedWhenTheFolderCannotBeFlushedAlthoughTheChangeIsMade) {
    failures["fsync folder"] = {EIO};
    EXPECT_EQ(put_old_file(), EIO);
    EXPECT_EQ(read_file(path_), "old");
    failures["fsync folder"] = {EIO};
    EXPECT_EQ(put_old_link(), EIO);
    EXPECT_TRUE(fs::is_symlink(path_));
    failures["fsync folder"] = {EIO};
    EXPECT_EQ(remove_new_file(), EIO);
    EXPECT_FALSE(fs::is_symlink(path_));
}
