#include "commands/collection_directories.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "tests/unit/agent_test.h"

namespace {

using recording_platform::calls;
using recording_platform::messages;

using log_level::error;
using log_level::information;
constexpr const char* tag = "get_zmcplogs_temp_destdir";
const std::string temporary_name_part = "/zmla-12345678901234567890123456789-abc123";

TEST(GetZmlaLogDir, IsTheEvidenceFolderBelowTheLogs) {
    EXPECT_STREQ(GETZMLALOGDIR(), "/usr/kumel/zembrath/logs/zmlaevidence");
}

TEST(GetZmlaLogDir, IsTheSameBufferOnEveryCall) {
    EXPECT_EQ(GETZMLALOGDIR(), GETZMLALOGDIR());
}

class CollectionDirectories : public AgentTest {
  protected:
    int choose(RequestVector args) {
        args_ = std::move(args);
        return get_zmcplogs_temp_destdir(args_, default_.c_str(), temporary_, collection_);
    }

    ScratchFolder folder_;
    const std::string default_ = folder_.path("evidence");
    RequestVector args_;
    std::string temporary_;
    std::string collection_;
};

TEST_F(CollectionDirectories, AreTheDefaultOneAndATemporaryNameInIt) {
    EXPECT_EQ(choose({"RUNZMSU", "-x"}), 0);
    EXPECT_EQ(collection_, default_);
    EXPECT_EQ(temporary_, default_ + temporary_name_part);
    EXPECT_EQ(args_, (RequestVector{"RUNZMSU", "-x"}));
    EXPECT_EQ(messages(),
              (Lines{{information, tag, "zmcplogs/zmsu o/p dir: " + temporary_ + ", collect dir:" + collection_}}));
}

TEST_F(CollectionDirectories, AreCreatedExceptTheTemporaryOne) {
    choose({"RUNZMSU"});
    EXPECT_EQ(calls(), (Texts{"mkdir " + default_ + " 493", "temporary_name " + default_ + " zmla"}));
    EXPECT_EQ(mode_of(default_), 0755U);
    EXPECT_FALSE(exists(temporary_));
}

TEST_F(CollectionDirectories, AreTakenFromTheOptionWhichIsRemovedWithItsValue) {
    const std::string other = folder_.path("other");
    EXPECT_EQ(choose({"RUNZMCPLOGS", "-a", "--collectdir", other, "-x"}), 0);
    EXPECT_EQ(collection_, other);
    EXPECT_EQ(temporary_, other + temporary_name_part);
    EXPECT_EQ(args_, (RequestVector{"RUNZMCPLOGS", "-a", "-x"}));
    EXPECT_TRUE(exists(other));
    EXPECT_FALSE(exists(default_));
}

TEST_F(CollectionDirectories, AreTakenFromTheOptionAtTheEnd) {
    const std::string other = folder_.path("other");
    EXPECT_EQ(choose({"RUNZMCPLOGS", "--collectdir", other}), 0);
    EXPECT_EQ(collection_, other);
    EXPECT_EQ(args_, (RequestVector{"RUNZMCPLOGS"}));
}

TEST_F(CollectionDirectories, AreTheDefaultOneWhenTheOptionHasNoValue) {
    EXPECT_EQ(choose({"RUNZMCPLOGS", "-x", "--collectdir"}), 0);
    EXPECT_EQ(collection_, default_);
    EXPECT_EQ(args_, (RequestVector{"RUNZMCPLOGS", "-x", "--collectdir"}));
}

TEST_F(CollectionDirectories, AreTakenFromTheFirstOfTwoOptions) {
    const std::string first = folder_.path("first");
    const std::string second = folder_.path("second");
    EXPECT_EQ(choose({"RUNZMCPLOGS", "--collectdir", first, "--collectdir", second}), 0);
    EXPECT_EQ(collection_, first);
    EXPECT_EQ(args_, (RequestVector{"RUNZMCPLOGS", "--collectdir", second}));
}

TEST_F(CollectionDirectories, AreNotTakenFromASimilarOption) {
    EXPECT_EQ(choose({"RUNZMCPLOGS", "--collectdir=/x", "--COLLECTDIR", "/y"}), 0);
    EXPECT_EQ(collection_, default_);
    EXPECT_EQ(args_.size(), 4U);
}

TEST_F(CollectionDirectories, MayExist) {
    make_folder(default_);
    set_mode(default_, 0700);
    EXPECT_EQ(choose({"RUNZMSU"}), 0);
    EXPECT_EQ(mode_of(default_), 0700U);
}

TEST_F(CollectionDirectories, FailWith5811WhenTheParentIsMissing) {
    const std::string deep = folder_.path("missing/below");
    EXPECT_EQ(choose({"RUNZMSU", "--collectdir", deep}), 5811);
    EXPECT_EQ(messages(), (Lines{{error, tag, "Failed to create DIR=" + deep + " E=2 (No such file or directory)"}}));
    EXPECT_EQ(recording_platform::calls_of("temporary_name"), Texts{});
}

TEST_F(CollectionDirectories, FailWith5811ForAnEmptyName) {
    EXPECT_EQ(choose({"RUNZMSU", "--collectdir", ""}), 5811);
    EXPECT_EQ(messages(), (Lines{{error, tag, "Failed to create DIR= E=2 (No such file or directory)"}}));
}

TEST_F(CollectionDirectories, FailWith5811WhenTheDiskIsFull) {
    failures["mkdir " + default_] = {ENOSPC};
    EXPECT_EQ(choose({"RUNZMSU"}), 5811);
    EXPECT_EQ(messages(),
              (Lines{{error, tag, "Failed to create DIR=" + default_ + " E=28 (No space left on device)"}}));
}

// Only EEXIST means that the directory exists; nothing else is checked.
TEST_F(CollectionDirectories, FailWith5811ForEveryErrorExceptThatTheyExist) {
    make_folder(default_);
    for (int number = 1; number <= EHWPOISON; ++number) {
        failures["mkdir " + default_] = {number};
        EXPECT_EQ(choose({"RUNZMSU"}), number == EEXIST ? 0 : 5811) << strerror(number);
    }
}

}  // namespace
