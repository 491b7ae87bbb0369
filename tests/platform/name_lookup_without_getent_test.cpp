// The look-up of names where getent cannot be executed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "tests/platform/name_lookup.h"
#include "tests/platform/name_server.h"
#include "tests/support/replaced_file.h"
#include "tests/support/test_files.h"

using platform_library::LookUpEnd;

// Files that cannot be executed: without execute permission, and with a missing interpreter.
class WithoutGetent : public NameLookUp, public testing::WithParamInterface<unsigned> {
  protected:
    WithoutGetent() {
        write_file("/tmp/getent", "#!/tmp/interpreter\n");
        set_mode("/tmp/getent", GetParam());
        replaced_ = std::make_unique<ReplacedFile>(getent_file, "/tmp/getent");
    }

  private:
    std::unique_ptr<ReplacedFile> replaced_;
};

INSTANTIATE_TEST_SUITE_P(Table, WithoutGetent, testing::Values(0644, 0755),
                         [](const auto& row) { return row.param == 0644 ? "NotExecutable" : "NotInterpretable"; });

TEST_P(WithoutGetent, FindsNamesInTheHostsFile) {
    write_file("/etc/hosts", "10.77.0.9 one\nfd77::1 two\n");
    EXPECT_THAT(find({"nobody.example.test", "one", "two"}).addresses,
                testing::UnorderedElementsAre("10.77.0.9", "fd77::1"));
}

TEST_P(WithoutGetent, AsksNameServers) {
    NameServer name_server("unused.example.test");
    EXPECT_EQ(find({"nobody.example.test"}).end, LookUpEnd::complete);
    EXPECT_THAT(name_server.questions(), testing::Contains("address nobody.example.test."));
}

TEST_P(WithoutGetent, EndsInTime) {
    const SilentNameServers silent;
    EXPECT_EQ(find({"nobody.example.test"}, short_time).end, LookUpEnd::timed_out);
}
