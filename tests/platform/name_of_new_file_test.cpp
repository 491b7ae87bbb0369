// Files that already have the name of the new file of a rewrite.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <string>

#include "tests/platform/rewritten_file.h"
#include "tests/platform/system_calls.h"
#include "tests/support/failing_calls.h"
#include "tests/support/test_files.h"

using failing_calls::failures;
using system_calls::overrides;

namespace {

void make_file(const std::string& path, unsigned mode) {
    write_file(path, "kept");
    set_mode(path, mode);
}

struct Obstacle {
    const char* name;
    // Creates something at the path. Returns whether that worked.
    std::function<bool(const std::string& path)> make;
};

// Files that no rewrite can have made.
const Obstacle obstacles[] = {
    {"empty folder", [](const std::string& path) { return mkdir(path.c_str(), 0700) == 0; }},
    {"link to a file", [](const std::string& path) { return symlink("/opt/there", path.c_str()) == 0; }},
    {"link to nothing", [](const std::string& path) { return symlink("/opt/missing", path.c_str()) == 0; }},
    {"FIFO", [](const std::string& path) { return mkfifo(path.c_str(), 0600) == 0; }},
    {"file of two names", [](const std::string& path) { return link("/opt/there", path.c_str()) == 0; }},
    {"file of another mode",
     [](const std::string& path) {
         make_file(path, 0755);
         return true;
     }},
};

}  // namespace

class NameOfNewFile : public RewriteTest {
  protected:
    // Expects that the change fails, changes nothing and leaves the file that has the name.
    void expect_obstacle_to_stay() const {
        const struct stat before = state_of(GetParam().new_file());
        EXPECT_EQ(GetParam().change(), GetParam().failure(EEXIST));
        const struct stat after = state_of(GetParam().new_file());
        EXPECT_EQ(after.st_ino, before.st_ino);
        EXPECT_EQ(after.st_nlink, before.st_nlink);
        expect_text(GetParam().before);
    }
};
FOR_EACH_REWRITTEN_FILE(NameOfNewFile);

TEST_P(NameOfNewFile, IsNotTakenFromFilesThatNoRewriteMade) {
    make_file("/opt/there", 0600);
    for (const Obstacle& obstacle : obstacles) {
        SCOPED_TRACE(obstacle.name);
        ASSERT_TRUE(obstacle.make(GetParam().new_file()));
        expect_obstacle_to_stay();
        remove_tree(GetParam().new_file());
    }
    EXPECT_EQ(read_file("/opt/there"), "kept");
    expect_change();
}

TEST_P(NameOfNewFile, IsNotTakenFromAFileOfAnotherOwner) {
    if (!namespace_has_several_users()) {
        GTEST_SKIP() << "no other user";
    }
    make_file(GetParam().new_file(), 0600);
    ASSERT_EQ(chown(GetParam().new_file().c_str(), 1234, 0), 0);
    expect_obstacle_to_stay();
}

// The new file gets the owner and the mode of the old one right before the rename.
TEST_P(NameOfNewFile, IsReusedAfterACrash) {
    const uid_t owner = namespace_has_several_users() ? 1234 : 0;
    for (const unsigned mode : {0600U, 0640U}) {
        for (const uid_t user : {uid_t{0}, owner}) {
            write_file(GetParam().path, GetParam().before);
            set_mode(GetParam().path, 0640);
            ASSERT_EQ(chown(GetParam().path.c_str(), owner, 0), 0);
            make_file(GetParam().new_file(), mode);
            ASSERT_EQ(chown(GetParam().new_file().c_str(), user, 0), 0);
            expect_change();
        }
    }
}

TEST_P(NameOfNewFile, MayBelongToAFileThatCannotBeRemoved) {
    make_file(GetParam().new_file(), 0600);
    const Change change = GetParam().prepare();
    failures["unlinkat"] = {EROFS};
    EXPECT_EQ(change(), GetParam().failure(EROFS));
    EXPECT_EQ(failing_calls::reset(), "");
    expect_text(GetParam().before);
    EXPECT_EQ(read_file(GetParam().new_file()), "kept");
    expect_change();
}

// Whoever can create a link in the folder cannot redirect the text, however quick they are.
TEST_P(NameOfNewFile, IsNotWrittenThroughWhenItIsALink) {
    make_file("/opt/there", 0600);
    make_file(GetParam().new_file(), 0600);
    const Change change = GetParam().prepare();
    int links = 0;
    overrides.after_removal = [&](int folder, const char* name) {
        links += symlinkat("/opt/there", folder, name) == 0 ? 1 : 0;
    };
    EXPECT_EQ(change(), GetParam().failure(EEXIST));
    EXPECT_EQ(links, 1);
    EXPECT_TRUE(S_ISLNK(state_of(GetParam().new_file()).st_mode));
    EXPECT_EQ(read_file("/opt/there"), "kept");
    expect_text(GetParam().before);
}
