// Creating log directories.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/runtime.h"
#include "tests/platform/child_process.h"
#include "tests/support/test_files.h"

namespace {

struct Result {
    int status;
    int error;

    bool operator==(const Result&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Result& result) {
    return out << result.status << ", error " << result.error;
}

constexpr Result created = {0, 0};
constexpr Result was_there = {0, EEXIST};

Result refused(int error) {
    return {-1, error};
}

// A failure has to set errno too.
Result make_directory(const std::string& path, int mode = 0755) {
    Result result = {.status = 4711, .error = 4711};
    errno = 4711;
    result.status = mklogdirpath(path.c_str(), mode, &result.error);
    if (result.status != 0) {
        EXPECT_EQ(errno, result.error) << path;
    }
    return result;
}

}  // namespace

class LogDirectory : public testing::Test {
  protected:
    LogDirectory() : mask_(umask(022)) {}
    ~LogDirectory() override { umask(mask_); }

    mode_t mask_;
    ScratchFolder folder_;
};

TEST_F(LogDirectory, HasTheProductsMode) {
    for (const char* name : {"tapemgr", "zmlogadmagent", "", "a/b", "..", "no such name", "%s"}) {
        EXPECT_EQ(getDirCreationMode(name), 0755) << name;
    }
}

TEST_F(LogDirectory, IsCreatedWithTheMode) {
    for (const int mode : {0755, 0750, 0700, 0711, 0500}) {
        const std::string path = folder_.path("mode" + std::to_string(mode));
        EXPECT_EQ(make_directory(path, mode), created);
        EXPECT_EQ(mode_of(path), static_cast<unsigned>(mode));
    }
}

TEST_F(LogDirectory, IsCreatedWithItsMissingParents) {
    EXPECT_EQ(make_directory(folder_.path("a/b/c"), 0700), created);
    EXPECT_EQ(mode_of(folder_.path("a")), 0755U);
    EXPECT_EQ(mode_of(folder_.path("a/b")), 0755U);
    EXPECT_EQ(mode_of(folder_.path("a/b/c")), 0700U);
}

TEST_F(LogDirectory, LetsNobodyElseWriteToItsParentsWithAnyUmask) {
    umask(0);
    EXPECT_EQ(make_directory(folder_.path("a/b/c"), 0777), created);
    EXPECT_EQ(mode_of(folder_.path("a")), 0755U);
    EXPECT_EQ(mode_of(folder_.path("a/b")), 0755U);
    EXPECT_EQ(mode_of(folder_.path("a/b/c")), 0777U);
}

TEST_F(LogDirectory, IsCreatedBelowExistingParents) {
    make_folder(folder_.path("a/b"));
    set_mode(folder_.path("a/b"), 0711);
    EXPECT_EQ(make_directory(folder_.path("a/b/c/d")), created);
    EXPECT_EQ(mode_of(folder_.path("a/b")), 0711U);
    EXPECT_TRUE(exists(folder_.path("a/b/c/d")));
}

TEST_F(LogDirectory, IsNotChangedWhenItExists) {
    make_folder(folder_.path("a"));
    set_mode(folder_.path("a"), 0711);
    write_file(folder_.path("a/file"), "kept");
    EXPECT_EQ(make_directory(folder_.path("a"), 0700), was_there);
    EXPECT_EQ(mode_of(folder_.path("a")), 0711U);
    EXPECT_EQ(read_file(folder_.path("a/file")), "kept");
}

TEST_F(LogDirectory, ExistsTheSecondTime) {
    EXPECT_EQ(make_directory(folder_.path("a/b")), created);
    EXPECT_EQ(make_directory(folder_.path("a/b")), was_there);
    EXPECT_EQ(make_directory(folder_.path("a")), was_there);
}

TEST_F(LogDirectory, MayBeSpelledInManyWays) {
    struct Spelling {
        const char* path;
        const char* created;
    };
    for (const Spelling& row :
         {Spelling{"p//q", "p/q"}, Spelling{"r/./s", "r/s"}, Spelling{"t/../u", "u"}, Spelling{"v/w/../x", "v/x"},
          Spelling{"name with blanks", "name with blanks"}, Spelling{"\xc3\xa9\xff", "\xc3\xa9\xff"},
          Spelling{"end/", "end"}, Spelling{"ends//", "ends"}}) {
        EXPECT_EQ(make_directory(folder_.path(row.path), 0700), created) << row.path;
        EXPECT_EQ(mode_of(folder_.path(row.created)), 0700U) << row.path;
        EXPECT_EQ(make_directory(folder_.path(row.path), 0700), was_there) << row.path;
    }
}

TEST_F(LogDirectory, IsCreatedWithItsMissingParentsEvenWithASlashAtTheEnd) {
    EXPECT_EQ(make_directory(folder_.path("a/b/"), 0700), created);
    EXPECT_EQ(mode_of(folder_.path("a")), 0755U);
    EXPECT_EQ(mode_of(folder_.path("a/b")), 0700U);
    EXPECT_EQ(make_directory(folder_.path("c//d//"), 0700), created);
    EXPECT_EQ(mode_of(folder_.path("c")), 0755U);
    EXPECT_EQ(mode_of(folder_.path("c/d")), 0700U);
}

TEST_F(LogDirectory, IsCreatedWithItsMissingParentsEvenWithADotAtTheEnd) {
    struct Spelling {
        const char* path;
        const char* created;
    };
    for (const Spelling& row : {Spelling{"a/.", "a"}, Spelling{"b/./", "b"}, Spelling{"c/d//.//./", "c/d"},
                                Spelling{"e.", "e."}, Spelling{"f/.g", "f/.g"}}) {
        EXPECT_EQ(make_directory(folder_.path(row.path), 0700), created) << row.path;
        EXPECT_EQ(mode_of(folder_.path(row.created)), 0700U) << row.path;
        EXPECT_EQ(make_directory(folder_.path(row.path), 0700), was_there) << row.path;
    }
    EXPECT_EQ(mode_of(folder_.path("c")), 0755U);
    EXPECT_EQ(mode_of(folder_.path("f")), 0755U);
    write_file(folder_.path("file"), "kept");
    EXPECT_EQ(make_directory(folder_.path("file/.")), refused(ENOTDIR));
}

TEST_F(LogDirectory, MayBeRelative) {
    EXPECT_TRUE(succeeds_in_child([&] {
        ASSERT_EQ(chdir(folder_.path().c_str()), 0);
        EXPECT_EQ(make_directory("a/b"), created);
        EXPECT_EQ(make_directory("./c/."), created);
        EXPECT_EQ(make_directory("."), was_there);
    }));
    EXPECT_TRUE(exists(folder_.path("a/b")));
    EXPECT_TRUE(exists(folder_.path("c")));
}

TEST_F(LogDirectory, MayBeALinkToADirectory) {
    make_folder(folder_.path("target"));
    make_link("target", folder_.path("link"));
    EXPECT_EQ(make_directory(folder_.path("link")), was_there);
    EXPECT_EQ(make_directory(folder_.path("link/a")), created);
    EXPECT_TRUE(exists(folder_.path("target/a")));
}

TEST_F(LogDirectory, IsTheRootOfTheFileSystem) {
    for (const char* path : {"/", "//", "/.", "/./"}) {
        EXPECT_EQ(make_directory(path), was_there) << path;
    }
}

TEST_F(LogDirectory, FailsWhenSomethingElseHasTheName) {
    write_file(folder_.path("file"), "kept");
    make_link("file", folder_.path("link to file"));
    make_link("missing", folder_.path("link to nothing"));
    make_link("loop", folder_.path("loop"));
    ASSERT_EQ(mkfifo(folder_.path("fifo").c_str(), 0600), 0);
    for (const char* name : {"file", "file/", "link to file", "link to nothing", "link to nothing/", "loop", "fifo"}) {
        EXPECT_EQ(make_directory(folder_.path(name)), refused(ENOTDIR)) << name;
    }
    EXPECT_EQ(read_file(folder_.path("file")), "kept");
    EXPECT_FALSE(exists(folder_.path("missing")));
}

TEST_F(LogDirectory, FailsWhenAParentIsNotADirectory) {
    write_file(folder_.path("file"), "kept");
    for (const char* path : {"file/a", "file/a/b", "file/../a"}) {
        EXPECT_EQ(make_directory(folder_.path(path)), refused(ENOTDIR)) << path;
    }
    EXPECT_EQ(names_in(folder_.path()), std::vector<std::string>{"file"});
}

TEST_F(LogDirectory, FailsWithTheErrorOfTheSystem) {
    make_link("missing", folder_.path("link to nothing"));
    make_link("loop", folder_.path("loop"));
    EXPECT_EQ(make_directory(""), refused(ENOENT));
    EXPECT_EQ(make_directory(folder_.path("link to nothing/a")), refused(ENOENT));
    EXPECT_EQ(make_directory(folder_.path("loop/a")), refused(ELOOP));
    EXPECT_EQ(make_directory(folder_.path(std::string(256, 'n'))), refused(ENAMETOOLONG));
    EXPECT_EQ(make_directory(folder_.path("a/" + std::string(256, 'n') + "/b")), refused(ENAMETOOLONG));
}

TEST_F(LogDirectory, FailsWithoutWritePermission) {
    make_folder(folder_.path("closed"));
    set_mode(folder_.path("closed"), 0555);
    EXPECT_TRUE(succeeds_in_child([&] {
        give_up_file_rights();
        EXPECT_EQ(make_directory(folder_.path("closed/a")), refused(EACCES));
        EXPECT_EQ(make_directory(folder_.path("closed/a/b")), refused(EACCES));
    }));
    EXPECT_TRUE(names_in(folder_.path("closed")).empty());
}

TEST_F(LogDirectory, ExistsEvenWithoutWritePermissionBesideIt) {
    make_folder(folder_.path("closed/a"));
    set_mode(folder_.path("closed"), 0555);
    EXPECT_TRUE(succeeds_in_child([&] {
        give_up_file_rights();
        EXPECT_EQ(make_directory(folder_.path("closed/a")), was_there);
    }));
    set_mode(folder_.path("closed"), 0755);
}
