// What a rewrite keeps of the file, and in which order it works.
#include <dirent.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <string>

#include "platform/posix.h"
#include "tests/platform/child_process.h"
#include "tests/platform/rewritten_file.h"
#include "tests/platform/system_calls.h"
#include "tests/support/failing_calls.h"
#include "tests/support/test_files.h"

using failing_calls::failures;
using failing_calls::times;
using system_calls::overrides;

namespace {

std::set<int> open_descriptors() {
    std::set<int> descriptors;
    const Directory folder(opendir("/proc/self/fd"));
    while (const dirent* entry = readdir(folder.get())) {
        if (entry->d_name[0] != '.') {
            descriptors.insert(std::stoi(entry->d_name));
        }
    }
    descriptors.erase(dirfd(folder.get()));
    return descriptors;
}

std::size_t place_of(const std::string& call) {
    const auto& journal = system_calls::journal;
    const auto place = std::find(journal.begin(), journal.end(), call);
    EXPECT_NE(place, journal.end()) << call;
    return static_cast<std::size_t>(place - journal.begin());
}

}  // namespace

class SafeRewrite : public RewriteTest {};
FOR_EACH_REWRITTEN_FILE(SafeRewrite);

TEST_P(SafeRewrite, ReplacesTheOldFileWithANewOne) {
    const Descriptor reader(open(GetParam().path.c_str(), O_RDONLY | O_CLOEXEC));
    expect_change();
    std::string old_text;
    ASSERT_TRUE(read_all(reader.get(), old_text));
    EXPECT_EQ(old_text, GetParam().before);
}

TEST_P(SafeRewrite, KeepsTheMode) {
    for (const unsigned mode : {0600U, 0640U, 0644U, 0664U, 0666U, 0444U, 0400U, 0755U, 01644U}) {
        for (const mode_t mask : {0U, 022U, 077U}) {
            write_file(GetParam().path, GetParam().before);
            set_mode(GetParam().path, mode);
            const mode_t mask_before = umask(mask);
            EXPECT_EQ(GetParam().change(), 0);
            umask(mask_before);
            EXPECT_EQ(mode_of(GetParam().path), mode);
            expect_rewritten();
            remove_tree(GetParam().path);
        }
    }
}

// A file can only be given to a user that exists. A user namespace of a single user has no other one.
TEST_P(SafeRewrite, KeepsTheOwnerWithSetIdBitsAmongTheUsersOfTheNamespace) {
    const bool has_others = namespace_has_several_users();
    const uid_t user = has_others ? 1234 : 0;
    const gid_t group = has_others ? 5678 : 0;
    for (const unsigned mode : {0640U, 06755U}) {
        write_file(GetParam().path, GetParam().before);
        ASSERT_EQ(chown(GetParam().path.c_str(), user, group), 0);
        set_mode(GetParam().path, mode);
        expect_change();
        EXPECT_EQ(state_of(GetParam().path).st_uid, user);
        EXPECT_EQ(state_of(GetParam().path).st_gid, group);
        EXPECT_EQ(mode_of(GetParam().path), mode);
    }
}

TEST_P(SafeRewrite, SetsTheOldOwnerBeforeTheRename) {
    overrides.owner = system_calls::OwnedFile{.file = state_of(GetParam().path).st_ino, .user = 1234, .group = 5678};
    expect_change();
    EXPECT_LT(place_of("give owner 1234:5678"), place_of("give mode"));
    EXPECT_LT(place_of("give mode"), place_of("rename"));
}

TEST_P(SafeRewrite, SetsTheOldOwnerWhenOnlyUserOrGroupDiffers) {
    struct Owner {
        uid_t user;
        gid_t group;
    };
    for (const Owner& owner : {Owner{1234, getegid()}, Owner{geteuid(), 5678}}) {
        write_file(GetParam().path, GetParam().before);
        system_calls::reset();
        overrides.owner =
            system_calls::OwnedFile{.file = state_of(GetParam().path).st_ino, .user = owner.user, .group = owner.group};
        EXPECT_EQ(GetParam().change(), 0);
        const std::string call = "give owner " + std::to_string(owner.user) + ":" + std::to_string(owner.group);
        EXPECT_LT(place_of(call), place_of("rename"));
    }
}

// One of them is a user's own draft of the file.
TEST_P(SafeRewrite, LeavesTheOtherFilesOfTheFolder) {
    for (const char* ending : {".new", ".tmp", ".bak", "~"}) {
        write_file(GetParam().path + ending, "kept");
    }
    EXPECT_EQ(GetParam().change(), 0);
    for (const char* ending : {".new", ".tmp", ".bak", "~"}) {
        EXPECT_EQ(read_file(GetParam().path + ending), "kept") << ending;
    }
}

TEST_P(SafeRewrite, ReplacesTheTargetOfALink) {
    for (const char* target : {"/opt/site/settings", "../../../opt/site/settings"}) {
        remove_tree(GetParam().path);
        write_file("/opt/site/settings", GetParam().before);
        set_mode("/opt/site/settings", 0640);
        make_link(target, GetParam().path);
        expect_change();
        EXPECT_TRUE(S_ISLNK(state_of(GetParam().path).st_mode));
        EXPECT_EQ(read_file("/opt/site/settings"), GetParam().after);
        EXPECT_EQ(mode_of("/opt/site/settings"), 0640U);
        for (const std::string& name : names_in("/opt/site")) {
            EXPECT_TRUE(name == "settings" || name == "settings.lock") << name;
        }
    }
}

TEST_P(SafeRewrite, FollowsALinkToALink) {
    remove_tree(GetParam().path);
    write_file("/opt/site/settings", GetParam().before);
    make_link("settings", "/opt/site/current");
    make_link("/opt/site/current", GetParam().path);
    expect_change();
    EXPECT_TRUE(S_ISLNK(state_of(GetParam().path).st_mode));
    EXPECT_TRUE(S_ISLNK(state_of("/opt/site/current").st_mode));
    EXPECT_TRUE(S_ISREG(state_of("/opt/site/settings").st_mode));
    EXPECT_EQ(read_file("/opt/site/settings"), GetParam().after);
}

TEST_P(SafeRewrite, LeavesTheOldTextUnderOtherNamesOfTheFile) {
    ASSERT_EQ(link(GetParam().path.c_str(), "/usr/kumel/backup"), 0);
    expect_change();
    EXPECT_EQ(read_file("/usr/kumel/backup"), GetParam().before);
}

TEST_P(SafeRewrite, FlushesTheFileBeforeTheRenameAndTheFolderAfterIt) {
    const Change change = GetParam().prepare();
    system_calls::reset();
    EXPECT_EQ(change(), 0);
    EXPECT_LT(place_of("lock"), place_of("read"));
    EXPECT_LT(place_of("read"), place_of("write"));
    EXPECT_LT(place_of("write"), place_of("give mode"));
    EXPECT_LT(place_of("give mode"), place_of("flush file"));
    EXPECT_LT(place_of("flush file"), place_of("rename"));
    EXPECT_LT(place_of("rename"), place_of("flush folder"));
    EXPECT_EQ(system_calls::journal.back(), "flush folder");
    EXPECT_EQ(std::count(system_calls::journal.begin(), system_calls::journal.end(), "write"), 1);
}

// The old text has the name until the rename.
TEST_P(SafeRewrite, KeepsTheOldTextUntilTheRename) {
    std::set<std::string> calls;
    overrides.before_call = [&](const std::string& call) {
        if (call != "flush folder" && call != "read") {
            expect_text(GetParam().before);
            calls.insert(call);
        }
    };
    EXPECT_EQ(GetParam().change(), 0);
    overrides.before_call = nullptr;
    EXPECT_THAT(calls, testing::IsSupersetOf({"write", "flush file", "rename"}));
    expect_rewritten();
}

TEST_P(SafeRewrite, HidesTheNewFileFromOthersUntilItHasItsMode) {
    set_mode(GetParam().path, 0600);
    const mode_t mask_before = umask(0);
    int drafts = 0;
    overrides.before_call = [&](const std::string& call) {
        if (call == "give mode") {
            for (const std::string& name : names_in(GetParam().folder())) {
                const bool was_there = std::count(names_before_.begin(), names_before_.end(), name) != 0;
                drafts += was_there ? 0 : 1;
                const unsigned mode = mode_of(GetParam().folder() + "/" + name);
                EXPECT_TRUE(was_there || (mode & 077) == 0) << name;
            }
        }
    };
    EXPECT_EQ(GetParam().change(), 0);
    umask(mask_before);
    EXPECT_EQ(drafts, 2);  // the lock file and the new file
}

TEST_P(SafeRewrite, LeaksNoDescriptorIntoAProgramStartedMeanwhile) {
    const std::set<int> before = open_descriptors();
    std::size_t seen = 0;
    overrides.before_call = [&](const std::string& call) {
        for (const int fd : open_descriptors()) {
            if (before.count(fd) == 0) {
                ++seen;
                EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC) << call;
            }
        }
    };
    EXPECT_EQ(GetParam().change(), 0);
    EXPECT_GT(seen, 0U);
}

TEST_P(SafeRewrite, LeavesNoDescriptorOpen) {
    const std::set<int> before = open_descriptors();
    EXPECT_EQ(GetParam().change(), 0);
    failures["rename"] = {EXDEV};
    EXPECT_EQ(GetParam().add_entry(1), GetParam().failure(EXDEV));
    EXPECT_EQ(open_descriptors(), before);
}

TEST_P(SafeRewrite, ContinuesAfterInterruptedReads) {
    const Change change = GetParam().prepare();
    failures["read"] = times(3, EINTR);
    EXPECT_EQ(change(), 0);
    EXPECT_EQ(failing_calls::reset(), "");
    expect_rewritten();
}

TEST_P(SafeRewrite, ContinuesAfterShortAndInterruptedWrites) {
    const Change change = GetParam().prepare();
    overrides.longest_write = 1;
    failures["write"] = times(3, EINTR);
    EXPECT_EQ(change(), 0);
    EXPECT_EQ(failing_calls::reset(), "");
    expect_rewritten();
}

TEST_P(SafeRewrite, IsNeverSeenHalfDone) {
    ChildProcess writer([&] {
        for (int i = 0; i < 100; ++i) {
            ASSERT_EQ(GetParam().change(), 0);
            write_file(GetParam().path + ".old", GetParam().before);
            ASSERT_EQ(rename((GetParam().path + ".old").c_str(), GetParam().path.c_str()), 0);
        }
    });
    while (writer.runs()) {
        const std::string text = read_file(GetParam().path);
        EXPECT_TRUE(text == GetParam().before || text == GetParam().after) << text;
    }
    EXPECT_EQ(writer.wait(), 0);
}
