#include <unistd.h>

#include <cerrno>

#include "commands/directory_queries.h"
#include "tests/unit/agent_test.h"

namespace {

using recording_platform::calls_of;
using recording_platform::messages_under;

using log_level::error;
using log_level::information;
constexpr const char* tag = "calc_free_space_send_output";

class CalcFreeSpaceSendOutput : public AgentTest {
  protected:
    CalcFreeSpaceSendOutput() { tell_space(4096, 1'000'000, 5'000'000); }

    static void tell_space(unsigned long block, fsblkcnt_t available, fsblkcnt_t total) {
        struct statvfs space {};
        space.f_bsize = block;
        space.f_frsize = 512;
        space.f_bavail = available;
        space.f_bfree = available + total;
        space.f_blocks = total;
        overrides.file_system = space;
    }

    int query(const std::string& directory) { return calc_free_space_send_output(directory, socket_.agent()); }

    static std::string answer(const std::string& target) {
        return "CALCLOGSIZE: TARGET_DIR=" + target + " FREE_SPACE=3906 MB TOTAL_SPACE=19531 MB\n";
    }

    ScratchFolder folder_;
    AgentConnection socket_;
};

TEST_F(CalcFreeSpaceSendOutput, SendsWholeMebibytesOfBlocksOfTheBlockSize) {
    EXPECT_EQ(query(folder_.path()), 0);
    EXPECT_EQ(socket_.received(), answer(folder_.path()));
    EXPECT_EQ(messages_under(tag), (Lines{{information, tag, "Checking available space at " + folder_.path()}}));
    EXPECT_EQ(calls_of("statvfs"), (Texts{"statvfs " + folder_.path()}));
}

TEST_F(CalcFreeSpaceSendOutput, RoundsMebibytesDown) {
    tell_space(1, 1048575, 2097151);
    EXPECT_EQ(query("/"), 0);
    EXPECT_EQ(socket_.received(), "CALCLOGSIZE: TARGET_DIR=/ FREE_SPACE=0 MB TOTAL_SPACE=1 MB\n");
}

TEST_F(CalcFreeSpaceSendOutput, CountsIn64Bits) {
    tell_space(1UL << 20, (1ULL << 44) - 1, (1ULL << 44) - 1);
    EXPECT_EQ(query("/"), 0);
    EXPECT_EQ(socket_.received(),
              "CALCLOGSIZE: TARGET_DIR=/ FREE_SPACE=17592186044415 MB TOTAL_SPACE=17592186044415 MB\n");
}

TEST_F(CalcFreeSpaceSendOutput, MeasuresRealFileSystems) {
    overrides.file_system.reset();
    EXPECT_EQ(query("/tmp"), 0);
    EXPECT_TRUE(socket_.received().starts_with("CALCLOGSIZE: TARGET_DIR=/tmp FREE_SPACE="));
}

TEST_F(CalcFreeSpaceSendOutput, CutsOneTrailingSlash) {
    EXPECT_EQ(query(folder_.path() + "/"), 0);
    EXPECT_EQ(socket_.received(), answer(folder_.path()));
    EXPECT_EQ(query(folder_.path() + "//"), 0);
    EXPECT_EQ(socket_.received(), answer(folder_.path() + "/"));
    EXPECT_EQ(query("//"), 0);
    EXPECT_EQ(socket_.received(), answer("/"));
}

TEST_F(CalcFreeSpaceSendOutput, LogsTheDirectoryAsReceived) {
    query(folder_.path() + "/");
    EXPECT_EQ(messages_under(tag), (Lines{{information, tag, "Checking available space at " + folder_.path() + "/"}}));
}

TEST_F(CalcFreeSpaceSendOutput, KeepsALoneSlash) {
    EXPECT_EQ(query("/"), 0);
    EXPECT_EQ(socket_.received(), answer("/"));
}

TEST_F(CalcFreeSpaceSendOutput, MeasuresTheParentOfAMissingDirectory) {
    EXPECT_EQ(query(folder_.path("missing/")), 0);
    EXPECT_EQ(socket_.received(), answer(folder_.path()));
    EXPECT_EQ(messages_under(tag).at(1), (LogLine{information, tag,
                                                  "Specified dir (" + folder_.path("missing") +
                                                      ") does not exist, using parent dir " + folder_.path()}));
    EXPECT_EQ(calls_of("statvfs"), (Texts{"statvfs " + folder_.path()}));
}

TEST_F(CalcFreeSpaceSendOutput, MeasuresTheRootForAMissingDirectoryInIt) {
    EXPECT_EQ(query("/missing"), 0);
    EXPECT_EQ(socket_.received(), answer("/"));
}

TEST_F(CalcFreeSpaceSendOutput, MeasuresNothingAboveTheParent) {
    EXPECT_EQ(query(folder_.path("missing/below")), 5784);
    EXPECT_EQ(socket_.received(), "");
    EXPECT_EQ(messages_under(tag).back(),
              (LogLine{error, tag,
                       "Specified dir (" + folder_.path("missing/below") + ") or parent dir (" +
                           folder_.path("missing") + ") does not exist"}));
    EXPECT_EQ(calls_of("statvfs"), Texts{});
}

TEST_F(CalcFreeSpaceSendOutput, MeasuresTheWorkingFolderForAMissingRelativeName) {
    EXPECT_EQ(query("no-such-name"), 0);
    EXPECT_EQ(socket_.received(), answer("."));
    EXPECT_EQ(query(""), 0);
    EXPECT_EQ(socket_.received(), answer("."));
}

TEST_F(CalcFreeSpaceSendOutput, MeasuresTheParentOfAMissingDirectoryWithALongPath) {
    std::string deep = folder_.path();
    while (deep.size() < 1900) {
        deep += "/" + std::string(100, 'd');
    }
    deep += "/" + std::string(2045 - deep.size() - 1, 'd');
    make_folder(deep);
    // The path has 2047 characters. If it were cut by one, the parent of the folder would be measured.
    const std::string missing = deep + "/x";
    EXPECT_EQ(query(missing), 0);
    EXPECT_EQ(messages_under(tag).at(1),
              (LogLine{information, tag, "Specified dir (" + missing + ") does not exist, using parent dir " + deep}));
    EXPECT_EQ(calls_of("statvfs"), (Texts{"statvfs " + deep}));
    EXPECT_EQ(socket_.received(), ("CALCLOGSIZE: TARGET_DIR=" + deep).substr(0, 1023));
}

TEST_F(CalcFreeSpaceSendOutput, MeasuresTheFolderAboveTheParentForAPathOf2048Characters) {
    std::string above = folder_.path();
    while (above.size() < 1900) {
        above += "/" + std::string(100, 'd');
    }
    const std::string parent = above + "/" + std::string(2046 - above.size() - 1, 'd');
    make_folder(parent);
    // Cut by one character, the path ends in the slash.
    EXPECT_EQ(query(parent + "/x"), 0);
    EXPECT_EQ(calls_of("statvfs"), (Texts{"statvfs " + above}));
}

TEST_F(CalcFreeSpaceSendOutput, MeasuresTheParentOfTheFirst2047Characters) {
    const std::string name(2100, 'x');
    EXPECT_EQ(query(folder_.path(name) + "/below"), 0);
    EXPECT_EQ(socket_.received(), answer(folder_.path()));
}

TEST_F(CalcFreeSpaceSendOutput, Returns5784WhenTheFileSystemCannotBeExamined) {
    failures["statvfs"] = {EIO};
    EXPECT_EQ(query(folder_.path()), 5784);
    EXPECT_EQ(messages_under(tag).back(),
              (LogLine{error, tag, "failed to get disk space D=" + folder_.path() + " E=5 Input/output error"}));
    EXPECT_EQ(socket_.received(), "");
}

TEST_F(CalcFreeSpaceSendOutput, Returns5796WhenTheLineIsNotSent) {
    overrides.watched_descriptor = socket_.agent();
    overrides.writes = {{.accepted = 10}, {.accepted = -1, .error = ECONNRESET}};
    EXPECT_EQ(query("/"), 5796);
    EXPECT_EQ(messages_under(tag).size(), 1U);
}

TEST_F(CalcFreeSpaceSendOutput, CutsTheLineTo1023Characters) {
    std::string deep = folder_.path();
    while (deep.size() < 1100) {
        deep += "/" + std::string(100, 'd');
    }
    make_folder(deep);
    EXPECT_EQ(query(deep), 0);
    EXPECT_EQ(socket_.received(), ("CALCLOGSIZE: TARGET_DIR=" + deep).substr(0, 1023));
}

TEST_F(CalcFreeSpaceSendOutput, DoesNotUseANameAsAFormat) {
    make_folder(folder_.path("%s%n"));
    EXPECT_EQ(query(folder_.path("%s%n")), 0);
    EXPECT_EQ(socket_.received(), answer(folder_.path("%s%n")));
}

}  // namespace
