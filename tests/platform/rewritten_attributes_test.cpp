// Which extended attributes a rewrite copies to the new file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <string>

#include "platform/posix.h"
#include "tests/platform/rewritten_file.h"
#include "tests/platform/system_calls.h"
#include "tests/support/failing_calls.h"
#include "tests/support/test_files.h"

using failing_calls::always;
using failing_calls::always_after;
using failing_calls::failures;
using system_calls::overrides;

namespace {

using namespace std::string_literals;

constexpr const char* access_list = "system.posix_acl_access";

// Allows the group of the process to read and write.
const std::string list_with_a_group =
    "\x02\0\0\0"
    "\x01\0\x06\0\xff\xff\xff\xff"
    "\x04\0\x04\0\xff\xff\xff\xff"
    "\x08\0\x06\0\0\0\0\0"
    "\x10\0\x06\0\xff\xff\xff\xff"
    "\x20\0\0\0\xff\xff\xff\xff"s;

std::string attribute_of(const std::string& path, const char* name) {
    std::string value(5000, '\0');
    const ssize_t size = getxattr(path.c_str(), name, value.data(), value.size());
    return size < 0 ? "none" : value.substr(0, static_cast<std::size_t>(size));
}

void give_attribute(const std::string& path, const char* name, const std::string& value) {
    ASSERT_EQ(setxattr(path.c_str(), name, value.data(), value.size(), 0), 0) << name;
}

bool was_given(const std::string& attribute) {
    const auto& journal = system_calls::journal;
    return std::find(journal.begin(), journal.end(), "give attribute " + attribute) != journal.end();
}

}  // namespace

class RewrittenAttributes : public RewriteTest {};
FOR_EACH_REWRITTEN_FILE(RewrittenAttributes);

TEST_P(RewrittenAttributes, AreKept) {
    const std::map<const char*, std::string> attributes = {{"user.note", "kept"},
                                                           {"user.empty", ""},
                                                           {"user.bytes", "\0\xff\n"s},
                                                           {"user.long", std::string(4000, 'x')},
                                                           {"security.sample", "label"}};
    for (const auto& [name, value] : attributes) {
        give_attribute(GetParam().path, name, value);
    }
    expect_change();
    for (const auto& [name, value] : attributes) {
        EXPECT_EQ(attribute_of(GetParam().path, name), value) << name;
    }
}

TEST_P(RewrittenAttributes, AreKeptWhenTheyAreAnAccessControlList) {
    const std::string& path = GetParam().path;
    give_attribute(path, access_list, list_with_a_group);
    const unsigned mode = mode_of(path);
    expect_change();
    EXPECT_EQ(attribute_of(path, access_list), list_with_a_group);
    EXPECT_EQ(mode_of(path), mode);
}

// The folder gives new files a default list, which the old file did not have.
TEST_P(RewrittenAttributes, GainNoAccessControlListThatTheOldFileLacked) {
    give_attribute(GetParam().folder(), "system.posix_acl_default", list_with_a_group);
    set_mode(GetParam().path, 0640);
    expect_change();
    EXPECT_EQ(attribute_of(GetParam().path, access_list), "none");
    EXPECT_EQ(mode_of(GetParam().path), 0640U);
}

TEST_P(RewrittenAttributes, AreNotRequiredOnAFileSystemWithoutThem) {
    const Change change = GetParam().prepare();
    failures["flistxattr"] = always(ENOTSUP);
    EXPECT_EQ(change(), 0);
    expect_rewritten();
}

TEST_P(RewrittenAttributes, AreReadAgainWhenTheyHaveGrown) {
    give_attribute(GetParam().path, "user.note", "kept");
    const Change change = GetParam().prepare();
    for (int times = 1; times <= 4; ++times) {
        write_file(GetParam().path, GetParam().before);
        overrides.attributes_grown = times;
        EXPECT_EQ(change(), 0) << times;
        EXPECT_EQ(overrides.attributes_grown, 0);
        EXPECT_EQ(attribute_of(GetParam().path, "user.note"), "kept");
        expect_rewritten();
    }
}

TEST_P(RewrittenAttributes, MakeTheRewriteFailWhenTheyCannotBeRead) {
    give_attribute(GetParam().path, "user.note", "kept");
    const Change change = GetParam().prepare();
    // The first query reads the size, the second one the value.
    for (const std::size_t queries : {0U, 1U}) {
        failures["fgetxattr"] = always_after(queries, EIO);
        EXPECT_EQ(change(), GetParam().failure(EIO)) << queries;
        EXPECT_EQ(failing_calls::reset(), "");
        expect_text(GetParam().before);
        expect_nothing_left_behind();
    }
}

TEST_P(RewrittenAttributes, MakeTheRewriteFailWhenAnInheritedListCannotBeRemoved) {
    give_attribute(GetParam().folder(), "system.posix_acl_default", list_with_a_group);
    const Change change = GetParam().prepare();
    failures["fremovexattr"] = {EPERM};
    EXPECT_EQ(change(), GetParam().failure(EPERM));
    EXPECT_EQ(failing_calls::reset(), "");
    expect_text(GetParam().before);
    expect_change();
    EXPECT_EQ(attribute_of(GetParam().path, access_list), "none");
}

// The folder gives every new file a list.
TEST_P(RewrittenAttributes, AreNotSetAgainWhenTheNewFileInheritedThem) {
    give_attribute(GetParam().folder(), "system.posix_acl_default", list_with_a_group);
    const std::string sample = GetParam().folder() + "/sample";
    ASSERT_TRUE(Descriptor(open(sample.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600)).valid());
    const std::string born_with = attribute_of(sample, access_list);
    remove_tree(sample);
    ASSERT_NE(born_with, "none");
    give_attribute(GetParam().path, access_list, born_with);
    expect_change();
    EXPECT_FALSE(was_given(access_list));
    EXPECT_EQ(attribute_of(GetParam().path, access_list), born_with);
}

TEST_P(RewrittenAttributes, ReplaceOthersThatTheNewFileInherited) {
    give_attribute(GetParam().folder(), "system.posix_acl_default", list_with_a_group);
    give_attribute(GetParam().path, access_list, list_with_a_group);
    expect_change();
    EXPECT_TRUE(was_given(access_list));
    EXPECT_EQ(attribute_of(GetParam().path, access_list), list_with_a_group);
}

TEST_P(RewrittenAttributes, DoNotIncludeAHashOfTheOldText) {
    struct stat state {};
    ASSERT_EQ(stat(GetParam().path.c_str(), &state), 0);
    const Change change = GetParam().prepare();
    for (const char* name : {"security.ima", "user.note", "security.evm", "security.imax"}) {
        overrides.attributes.push_back({.file = state.st_ino, .name = name, .value = "value"});
    }
    EXPECT_EQ(change(), 0);
    EXPECT_TRUE(was_given("user.note"));
    EXPECT_TRUE(was_given("security.imax"));
    EXPECT_FALSE(was_given("security.ima"));
    EXPECT_FALSE(was_given("security.evm"));
    expect_rewritten();
}
