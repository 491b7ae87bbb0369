// The SERVER list: which sources give the addresses of its names, and how long that may take.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <vector>

#include "platform/deadline.h"
#include "tests/platform/name_server.h"
#include "tests/platform/system_calls.h"
#include "tests/platform/verified_peer.h"
#include "tests/support/failing_calls.h"
#include "tests/support/foreign_host.h"
#include "tests/support/product_test.h"
#include "tests/support/replaced_file.h"

using failing_calls::failures;

namespace {

constexpr const char* journal = "/tmp/asked";

// A getent that returns the address of the foreign host for every name, and records the names.
const std::string believer = std::string("shift 2\nprintf '%s ' \"$@\" >>") + journal + "\necho '10.77.0.2 STREAM'\n";

}  // namespace

class NameSources : public ProductTest {
  protected:
    NameSources() { write_file("/etc/hosts", "127.0.0.1 localhost\n"); }
    ~NameSources() override { system_calls::reset(); }

    [[nodiscard]] bool foreign_is_trusted(const std::vector<std::string>& servers, int timeout = 60) const {
        trust(servers);
        return is_trusted(connection_.agent_end.get(), timeout);
    }

    ForeignHost foreign_;
    ConnectedSockets connection_ =
        foreign_.connect({.listener = "10.77.0.1", .server = "10.77.0.1", .peer = "10.77.0.2"});
};

TEST_F(NameSources, AreThoseOfTheCLibraryOfTheHost) {
    const ConnectedSockets local = connect_locally();
    trust({"anything.localhost"});
    write_file("/etc/nsswitch.conf", "hosts: files\n");
    EXPECT_FALSE(is_trusted(local.agent_end.get()));
    write_file("/etc/nsswitch.conf", "hosts: files myhostname\n");
    EXPECT_TRUE(is_trusted(local.agent_end.get()));
    EXPECT_FALSE(foreign_is_trusted({"anything.localhost"}));
    write_file("/etc/nsswitch.conf", "hosts: files dns\n");
}

TEST_F(NameSources, AreAskedForEachRemainingName) {
    const StandInGetent getent(std::string("shift 2\nprintf '%s ' \"$@\" >>") + journal + "\n");
    write_file("/etc/hosts", "10.77.0.9 known.example.test\n");
    EXPECT_FALSE(foreign_is_trusted(
        {"10.77.0.9", "one.example.test", "known.example.test", "Localhost", "AGENTHOST", "10.5", "two.example.test"}));
    EXPECT_THAT(read_file(journal),
                testing::AnyOf("one.example.test two.example.test ", "two.example.test one.example.test "));
}

TEST_F(NameSources, AreNotAskedForTextsThatAreNotNames) {
    const StandInGetent getent(believer);
    for (const char* server :
         {"10.77.0.02", "192.168.010.005", "10.5", "0xbeef", "172818434", "10.77.0.2.", "a b", "a\tb", "10.77.0.2%1",
          "fd77::2%1", "fe80::2%nowhere", "10.77.0.2:24761", "localhost", "agenthost", "agenthost.example.test"}) {
        EXPECT_FALSE(foreign_is_trusted({server})) << server;
    }
    EXPECT_FALSE(foreign_is_trusted({""}));
    EXPECT_FALSE(foreign_is_trusted({std::string("a\0b", 3)}));
    EXPECT_FALSE(exists(journal));
}

TEST_F(NameSources, BeginWithTheHostsFile) {
    const StandInGetent getent(believer);
    for (const char* hosts :
         {"10.77.0.2 far.example.test", "10.77.0.2\tfar.example.test\n",
          "  10.77.0.2  other\t far.example.test alias\n", "10.77.0.2 FAR.Example.TEST # remark\r\n",
          "10.77.0.9 far.example.test\n10.77.0.2 far.example.test\n",
          "10.77.0.2 far.example.test\n10.77.0.9 far.example.test\n", "::ffff:10.77.0.2 far.example.test\n",
          "garbage\n\n#\n10.77.0.02 far.example.test\n10.77.0.2 other far.example.test\n"}) {
        write_file("/etc/hosts", hosts);
        EXPECT_TRUE(foreign_is_trusted({"far.example.test"})) << hosts;
        EXPECT_TRUE(foreign_is_trusted({"unknown.example.test", "Far.EXAMPLE.test"})) << hosts;
    }
    EXPECT_FALSE(exists(journal));
}

// What this host says about itself takes precedence over what others say.
TEST_F(NameSources, EndWithTheHostsFileForANameThatIsInIt) {
    const StandInGetent getent(believer);
    write_file("/etc/hosts", "10.77.0.9 far.example.test\n");
    EXPECT_FALSE(foreign_is_trusted({"far.example.test"}));
    EXPECT_FALSE(exists(journal));
}

TEST_F(NameSources, ReadOnlyWellFormedLinesOfTheHostsFile) {
    write_file("/etc/nsswitch.conf", "hosts: dns\n");
    for (const char* hosts :
         {"", "#10.77.0.2 far.example.test\n", "10.77.0.2 # far.example.test\n", "10.77.0.2 other#far.example.test\n",
          "10.77.0.2\nfar.example.test\n", "10.77.0.02 far.example.test\n", "10.77.2 far.example.test\n",
          "far.example.test 10.77.0.2\n", "10.77.0.2 far.example.test.\n", "10.77.0.2 far.example.testing\n",
          "10.77.0.2,far.example.test\n", "10.77.0.2x far.example.test\n"}) {
        write_file("/etc/hosts", hosts);
        EXPECT_FALSE(foreign_is_trusted({"far.example.test"})) << hosts;
    }
    remove_tree("/etc/hosts");
    EXPECT_FALSE(foreign_is_trusted({"far.example.test"}));
    write_file("/etc/nsswitch.conf", "hosts: files dns\n");
}

TEST_F(NameSources, AreIgnoredForANumberInTheHostsFile) {
    write_file("/etc/hosts", "10.77.0.2 10.5 0xbeef\n");
    EXPECT_FALSE(foreign_is_trusted({"10.5", "0xbeef"}));
}

TEST_F(NameSources, AreAbandonedWhenTheirTimeEnds) {
    const SilentNameServers silent;
    const auto start = Clock::now();
    EXPECT_FALSE(foreign_is_trusted({"one.example.test", "two.example.test", "three.example.test"}, 1));
    const auto taken = Clock::now() - start;
    EXPECT_GE(taken, std::chrono::seconds(1));
    EXPECT_LT(taken, std::chrono::seconds(2));
    EXPECT_TRUE(silent.were_asked());
}

TEST_F(NameSources, TrustNobodyWhenTheyCannotBeAsked) {
    const StandInGetent getent(believer);
    failures["fork"] = {EAGAIN};
    EXPECT_FALSE(foreign_is_trusted({"far.example.test"}));
    EXPECT_EQ(failing_calls::reset(), "");
    EXPECT_TRUE(foreign_is_trusted({"far.example.test"}));
}
