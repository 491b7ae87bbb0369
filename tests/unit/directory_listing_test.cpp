#include <dirent.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "commands/directory_queries.h"
#include "tests/unit/agent_test.h"

namespace {

using recording_platform::messages_under;

using log_level::error;
using log_level::information;
constexpr const char* tag = "list_dir_and_send_output";

// Returns the names in the folder in its own order, without "." and "..".
Texts names_in_order_of(const std::string& folder) {
    Texts names;
    const Directory directory(opendir(folder.c_str()));
    while (const dirent* entry = readdir(directory.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(name);
        }
    }
    return names;
}

class ListDirAndSendOutput : public AgentTest {
  protected:
    int list(const std::string& directory) { return list_dir_and_send_output(directory, socket_.agent()); }

    std::string package(const std::string& name) const { return "ZMSU PACKAGE=" + folder_.path(name) + "\n"; }

    ScratchFolder folder_;
    AgentConnection socket_;
};

TEST_F(ListDirAndSendOutput, SendsALineForEachFileInTheDirectorysOrder) {
    std::string expected;
    for (const char* name : {"c", "a", "b", ".hidden", "..."}) {
        write_file(folder_.path(name), "");
    }
    for (const std::string& name : names_in_order_of(folder_.path())) {
        expected += package(name);
    }
    EXPECT_EQ(list(folder_.path()), 0);
    EXPECT_EQ(socket_.received(), expected);
    EXPECT_EQ(std::count(expected.begin(), expected.end(), '\n'), 5);
    EXPECT_EQ(messages_under(tag), (Lines{{information, tag, "Opening dir:" + folder_.path()}}));
}

TEST_F(ListDirAndSendOutput, SendsNothingForAnEmptyDirectory) {
    EXPECT_EQ(list(folder_.path()), 0);
    EXPECT_EQ(socket_.received(), "");
}

TEST_F(ListDirAndSendOutput, SkipsDirectories) {
    make_folder(folder_.path("below"));
    make_link(folder_.path("below"), folder_.path("link"));
    EXPECT_EQ(list(folder_.path()), 0);
    EXPECT_EQ(socket_.received(), "");
}

TEST_F(ListDirAndSendOutput, ReportsALinkToAFile) {
    make_link("/dev/null", folder_.path("link"));
    EXPECT_EQ(list(folder_.path()), 0);
    EXPECT_EQ(socket_.received(), package("link"));
}

TEST_F(ListDirAndSendOutput, ReportsAPipe) {
    ASSERT_EQ(mkfifo(folder_.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(list(folder_.path()), 0);
    EXPECT_EQ(socket_.received(), package("pipe"));
}

TEST_F(ListDirAndSendOutput, AlwaysInsertsASlash) {
    write_file(folder_.path("file"), "");
    EXPECT_EQ(list(folder_.path() + "/"), 0);
    EXPECT_EQ(socket_.received(), "ZMSU PACKAGE=" + folder_.path() + "//file\n");
}

TEST_F(ListDirAndSendOutput, Returns5784WhenTheDirectoryCannotBeOpened) {
    EXPECT_EQ(list(folder_.path("missing")), 5784);
    EXPECT_EQ(
        messages_under(tag),
        (Lines{{information, tag, "Opening dir:" + folder_.path("missing")},
               {error, tag, "Failed to open dir: " + folder_.path("missing") + " E=2 (No such file or directory)"}}));
    EXPECT_EQ(socket_.received(), "");
}

TEST_F(ListDirAndSendOutput, Returns5784ForAFile) {
    write_file(folder_.path("file"), "");
    EXPECT_EQ(list(folder_.path("file")), 5784);
    EXPECT_EQ(messages_under(tag).back(),
              (LogLine{error, tag, "Failed to open dir: " + folder_.path("file") + " E=20 (Not a directory)"}));
}

TEST_F(ListDirAndSendOutput, StopsWithStatus1AtADanglingLink) {
    make_link("/missing", folder_.path("dangling"));
    EXPECT_EQ(list(folder_.path()), 1);
    EXPECT_EQ(
        messages_under(tag).back(),
        (LogLine{error, tag, "Can't access " + folder_.path("dangling") + " rv=1 E=2 (No such file or directory)"}));
    EXPECT_EQ(socket_.received(), "");
}

TEST_F(ListDirAndSendOutput, LeavesTheLinesSentBeforeADanglingLink) {
    for (const char* name : {"a", "b", "c"}) {
        write_file(folder_.path(name), "");
    }
    make_link("/missing", folder_.path("dangling"));
    for (const char* name : {"d", "e", "f"}) {
        write_file(folder_.path(name), "");
    }
    std::string expected;
    for (const std::string& name : names_in_order_of(folder_.path())) {
        if (name == "dangling") {
            break;
        }
        expected += package(name);
    }
    EXPECT_EQ(list(folder_.path()), 1);
    EXPECT_EQ(socket_.received(), expected);
}

TEST_F(ListDirAndSendOutput, SucceedsWhenReadingTheDirectoryFails) {
    for (const char* name : {"a", "b", "c", "d"}) {
        write_file(folder_.path(name), "");
    }
    failures["readdir"] = {0, 0, 0, 0, EIO};
    EXPECT_EQ(list(folder_.path()), 0);
    const std::string received = socket_.received();
    EXPECT_LT(std::count(received.begin(), received.end(), '\n'), 4);
    EXPECT_GE(std::count(received.begin(), received.end(), '\n'), 2);
}

TEST_F(ListDirAndSendOutput, StopsWith5796WhenALineIsNotSent) {
    write_file(folder_.path("a"), "");
    write_file(folder_.path("b"), "");
    const std::string line = package(names_in_order_of(folder_.path()).front());
    overrides.watched_descriptor = socket_.agent();
    overrides.writes = {{.accepted = -1, .error = EPIPE}};
    EXPECT_EQ(list(folder_.path()), 5796);
    EXPECT_EQ(messages_under(tag).back(), (LogLine{error, tag, "Failed to send ZMSU o/p FN (" + line + ") rv=5796"}));
    EXPECT_EQ(recording_platform::calls_of("write").size(), 1U);
}

TEST_F(ListDirAndSendOutput, SendsTheWholeLineOfAPathOf1023Characters) {
    const std::string name(100, 'f');
    std::string deep = folder_.path();
    while (deep.size() < 800) {
        deep += "/" + std::string(50, 'd');
    }
    deep += "/" + std::string(1023 - 1 - name.size() - 1 - deep.size(), 'd');
    const std::string path = deep + "/" + name;
    ASSERT_EQ(path.size(), 1023U);
    write_file(path, "");
    EXPECT_EQ(list(deep), 0);
    EXPECT_EQ(socket_.received(), "ZMSU PACKAGE=" + path + "\n");
}

TEST_F(ListDirAndSendOutput, CutsThePathOfAnEntryTo1023Characters) {
    std::string deep = folder_.path();
    while (deep.size() < 1000) {
        deep += "/" + std::string(100, 'd');
    }
    make_folder(deep);
    write_file(deep + "/" + std::string(100, 'f'), "");
    EXPECT_EQ(list(deep), 1);
    const std::string cut = (deep + "/" + std::string(100, 'f')).substr(0, 1023);
    EXPECT_EQ(messages_under(tag).back(),
              (LogLine{error, tag, "Can't access " + cut + " rv=1 E=2 (No such file or directory)"}));
}

TEST_F(ListDirAndSendOutput, SkipsADirectoryWhosePathIsCutToThatOfAnother) {
    std::string deep = folder_.path();
    while (deep.size() < 900) {
        deep += "/" + std::string(50, 'd');
    }
    deep += "/" + std::string(1023 - 2 - deep.size() - 1, 'd');
    make_folder(deep + "/f");
    write_file(deep + "/ff", "");
    EXPECT_EQ(list(deep), 0);
    EXPECT_EQ(socket_.received(), "");
}

TEST_F(ListDirAndSendOutput, ExaminesPlainFilesWithOneCallOnly) {
    for (const char* name : {"a", "b", "c"}) {
        write_file(folder_.path(name), "");
    }
    EXPECT_EQ(list(folder_.path()), 0);
    EXPECT_EQ(recording_platform::calls_of("fstatat"), (Texts{"fstatat " + folder_.path() + "/."}));
}

// Removes the capabilities that let root ignore permissions.
void give_up_overriding_permissions() {
    __user_cap_header_struct header = {.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};
    syscall(SYS_capget, &header, sets.data());
    sets[0].effective &= ~((1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH));
    syscall(SYS_capset, &header, sets.data());
}

TEST_F(ListDirAndSendOutput, StopsWithStatus1WhereItMayReadTheDirectoryButNotItsEntries) {
    write_file(folder_.path("below/file"), "");
    set_mode(folder_.path("below"), 0444);
    const int result = run_in_child([&] {
        give_up_overriding_permissions();
        return list(folder_.path("below"));
    });
    EXPECT_EQ(result, 1);
    EXPECT_EQ(recording_platform::child_messages_under(tag).back(),
              (LogLine{error, tag, "Can't access " + folder_.path("below/file") + " rv=1 E=13 (Permission denied)"}));
    EXPECT_EQ(socket_.received(), "");
    set_mode(folder_.path("below"), 0755);
}

TEST_F(ListDirAndSendOutput, LeavesNoDescriptorOpen) {
    write_file(folder_.path("a"), "");
    const int next = next_descriptor();
    list(folder_.path());
    make_link("/missing", folder_.path("dangling"));
    list(folder_.path());
    EXPECT_EQ(next_descriptor(), next);
}

}  // namespace
