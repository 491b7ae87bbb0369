// Peer verification: by which names and addresses this host is known, and when names are looked up.
#include "tests/platform/server_list.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "platform/library/host_list.h"
#include "tests/platform/child_process.h"
#include "tests/platform/name_server.h"
#include "tests/support/failing_calls.h"
#include "tests/support/private_root.h"

using failing_calls::always;
using failing_calls::failures;
using system_calls::overrides;

// The name of this host matches only this host. If it resolves to another host, it matches that one.
TEST_F(ServerList, TrustsTheHostThatThisHostsNameResolvesTo) {
    const ConnectedSockets connection = foreign_.connect(from_foreign);
    trust({"agenthost.example.test"});
    EXPECT_FALSE(is_trusted(connection.agent_end.get()));
    write_file("/etc/hosts", "10.77.0.2 agenthost.example.test\n");
    EXPECT_TRUE(is_trusted(connection.agent_end.get()));
}

TEST_F(ServerList, MatchesAHostNameWithoutADomain) {
    EXPECT_TRUE(succeeds_in_child([] {
        ASSERT_EQ(sethostname("lonely", 6), 0);
        const ConnectedSockets connection = connect_locally();
        trust({"Lonely"});
        EXPECT_TRUE(is_trusted(connection.agent_end.get()));
        trust({"agenthost"});
        EXPECT_FALSE(is_trusted(connection.agent_end.get()));
    }));
    ASSERT_EQ(sethostname(private_host_name, strlen(private_host_name)), 0);
}

TEST_F(ServerList, MatchesAHostNameOfTheGreatestLength) {
    const std::string name(64, 'n');
    ASSERT_EQ(sethostname(name.c_str(), name.size()), 0);
    const ConnectedSockets connection = connect_locally();
    trust({name});
    EXPECT_TRUE(is_trusted(connection.agent_end.get()));
    trust({name.substr(0, 63)});
    EXPECT_FALSE(is_trusted(connection.agent_end.get()));
    ASSERT_EQ(sethostname(private_host_name, strlen(private_host_name)), 0);
}

TEST_F(ServerList, MatchesNoEntryWithAnEmptyHostName) {
    EXPECT_TRUE(succeeds_in_child([] {
        ASSERT_EQ(sethostname("", 0), 0);
        const ConnectedSockets connection = connect_locally();
        trust({""});
        EXPECT_FALSE(is_trusted(connection.agent_end.get()));
        trust({"localhost"});
        EXPECT_TRUE(is_trusted(connection.agent_end.get()));
    }));
    ASSERT_EQ(sethostname(private_host_name, strlen(private_host_name)), 0);
}

// Its addresses still match.
TEST_F(ServerList, MatchesThisHostOnlyByItsAddressesWhenItsNameIsUnknown) {
    const ConnectedSockets connection = connect_locally();
    failures["gethostname"] = always(EPERM);
    trust({"agenthost"});
    EXPECT_FALSE(is_trusted(connection.agent_end.get()));
    for (const char* host : {"localhost", "127.0.0.1", "own.example.test"}) {
        trust({host});
        EXPECT_TRUE(is_trusted(connection.agent_end.get())) << host;
    }
    write_file("/etc/hosts", "");
    trust({"localhost"});
    EXPECT_TRUE(is_trusted(connection.agent_end.get()));
}

TEST_F(ServerList, MatchesThisHostOnlyByLoopbackAddressesWhenOthersAreUnknown) {
    const ConnectedSockets connection = connect_locally();
    failures["getifaddrs"] = always(ENOMEM);
    for (const char* host : {"10.77.0.1", "own.example.test", "own6.example.test"}) {
        trust({host});
        EXPECT_FALSE(is_trusted(connection.agent_end.get())) << host;
    }
    trust({"127.0.0.1"});
    EXPECT_TRUE(is_trusted(connection.agent_end.get()));
}

TEST_F(ServerList, SkipsInterfacesWithoutAnAddress) {
    const ConnectedSockets connection = connect_locally();
    overrides.interface_without_address = true;
    trust({"10.77.0.1"});
    EXPECT_TRUE(is_trusted(connection.agent_end.get()));
    trust({"10.77.0.2"});
    EXPECT_FALSE(is_trusted(connection.agent_end.get()));
}

TEST_F(ServerList, DoesNotCountAnEmptyAddressAsOwn) {
    EXPECT_FALSE(platform_library::OwnAddresses().hold(platform_library::Address()));
}

TEST_F(ServerList, TrustsNobodyWhenItHasNotBeenRead) {
    if (in_fresh_process()) {
        EXPECT_FALSE(is_trusted(connect_locally().agent_end.get()));
    }
}

TEST_F(ServerList, IsReadFromLinesOfAnyForm) {
    const ConnectedSockets connection = foreign_.connect(from_foreign);
    write_file(main_configuration,
               "# SERVER = 10.77.0.2\nServer=first.example.test\r\n\tSERVER\t= second.example.test\nSERVER\n");
    ASSERT_EQ(ZM_read_master_config(), 0);
    EXPECT_FALSE(is_trusted(connection.agent_end.get()));
    for (const char* line : {"SERVER = 10.77.0.2", "server=10.77.0.2", " Server\t=\t10.77.0.2 \r"}) {
        write_file(main_configuration, std::string("SERVER = first.example.test\nVERBOSE = 1\n") + line + "\nrest\n");
        ASSERT_EQ(ZM_read_master_config(), 0);
        EXPECT_TRUE(is_trusted(connection.agent_end.get())) << line;
    }
}

TEST_F(ServerList, LooksNamesUp) {
    NameServer name_server("unused.example.test");
    trust({"nobody.example.test"});
    EXPECT_FALSE(is_trusted(foreign_.connect(from_foreign).agent_end.get()));
    const std::vector<std::string> questions = name_server.questions();
    ASSERT_FALSE(questions.empty());
    EXPECT_EQ(questions[0], "address nobody.example.test.");
}

TEST_F(ServerList, LooksNothingUpWhenAnEntryMatchesExactly) {
    NameServer name_server("unused.example.test");
    const ConnectedSockets local = connect_locally();
    for (const char* match : {"localhost", "agenthost", "agenthost.example.test", "127.0.0.1", "::1", "10.77.0.1"}) {
        trust({"nobody.example.test", "no-one.example.test", match});
        EXPECT_TRUE(is_trusted(local.agent_end.get())) << match;
    }
    const ConnectedSockets network = foreign_.connect(from_foreign);
    for (const char* match : {"10.77.0.2", "::ffff:10.77.0.2"}) {
        trust({"nobody.example.test", "no-one.example.test", match});
        EXPECT_TRUE(is_trusted(network.agent_end.get())) << match;
    }
    EXPECT_EQ(name_server.questions(), std::vector<std::string>());
}

// The peer controls the name of its address.
TEST_F(ServerList, IgnoresTheNameOfAnAddress) {
    NameServer name_server("server.example.test");
    const ConnectedSockets connection = foreign_.connect(from_foreign);
    trust({"server.example.test"});
    EXPECT_FALSE(is_trusted(connection.agent_end.get()));
    EXPECT_THAT(name_server.questions(), testing::AllOf(testing::Contains("address server.example.test."),
                                                        testing::Each(testing::StartsWith("address "))));
}

TEST_F(ServerList, LooksNothingUpWithoutTime) {
    NameServer name_server("unused.example.test");
    const ConnectedSockets connection = foreign_.connect(from_foreign);
    trust({"nobody.example.test", "trusted.example.test"});
    EXPECT_FALSE(is_trusted(connection.agent_end.get(), 0));
    trust({"10.77.0.2"});
    EXPECT_TRUE(is_trusted(connection.agent_end.get(), 0));
    EXPECT_EQ(name_server.questions(), std::vector<std::string>());
}
