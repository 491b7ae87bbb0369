// The requests that zmlogstate show --json offers: null for what no request can set.
#include <gmock/gmock.h>

#include <map>
#include <string>

#include "tests/state_command/json_objects.h"
#include "tests/state_command/state_test.h"
#include "tests/support/test_files.h"

using testing::ElementsAre;
using testing::Pair;

namespace {

// Returns the request of each setting of the category by "NAME=VALUE", or "none".
std::map<std::string, std::string> offered(const std::string& category) {
    const CommandRun run = run_command({"show", "--json", category});
    expect_status(run, 0);
    std::map<std::string, std::string> requests;
    for (const Object& object : objects_of(run.output)) {
        if (object["type"] == "setting") {
            const std::string setting = object["name"].get<std::string>() + "=" + object["value"].get<std::string>();
            requests[setting] = object["request"].is_null() ? "none" : object["request"].get<std::string>();
        }
    }
    return requests;
}

}  // namespace

class OfferedRequest : public StateTest {};

TEST_F(OfferedRequest, ExistsForTheLevelsThatAStoreAccepts) {
    write_file(store,
               "1.DebugLevel=0\n2.DebugLevel=6\n3.DebugLevel=7\n4.DebugLevel=-1\n5.DebugLevel=\n"
               "6.DebugLevel=06\n1.DiagnosticLevel=6\n4294967295.DebugLevel=5\n4294967296.DebugLevel=5\n");
    EXPECT_THAT(offered("ZMKTUL"),
                ElementsAre(Pair("1.DiagnosticLevel=6", "none"), Pair("1=0", "ZMKTUL:1=0"), Pair("2=6", "ZMKTUL:2=6"),
                            Pair("3=7", "none"), Pair("4294967295=5", "ZMKTUL:4294967295=5"), Pair("4=-1", "none"),
                            Pair("5=", "none"), Pair("6=06", "none")));
}

TEST_F(OfferedRequest, ExistsForTheNumbersThatTheMainConfigurationAccepts) {
    write_file(main_configuration,
               "VERBOSE = 2147483647\nA_VERBOSE = 2147483648\nB_VERBOSE = -1\nC_VERBOSE = -2\n"
               "D_VERBOSE =\nE_VERBOSE = x\n");
    EXPECT_THAT(offered("QRCONF"),
                ElementsAre(Pair("A_VERBOSE=2147483648", "none"), Pair("B_VERBOSE=-1", "none"),
                            Pair("C_VERBOSE=-2", "QRCONF:C_VERBOSE=-2"), Pair("D_VERBOSE=", "none"),
                            Pair("E_VERBOSE=x", "none"), Pair("VERBOSE=2147483647", "QRCONF:VERBOSE=2147483647")));
}

TEST_F(OfferedRequest, DoesNotExistWithACommaOrAZeroByte) {
    using namespace std::string_literals;
    write_file(container_file, "SHCT_LOG_LEVEL=1,2\nSHCT_LOG_LEVEL=1:2=3 4\nSHCT_LOG_LEVEL=\0\n"s);
    EXPECT_THAT(offered("CLOUD"), ElementsAre(Pair("skyhold=\0"s, "none"), Pair("skyhold=1,2", "none"),
                                              Pair("skyhold=1:2=3 4", "CLOUD:skyhold=1:2=3 4")));
}

TEST_F(OfferedRequest, DoesNotExistForAComponentWithoutTheSuffixOfRequests) {
    write_file("/usr/kumel/lib/stg-plugins/qtpipe.conf", "Logging=full\nLogging=some,thread\n");
    EXPECT_THAT(offered("RK"), ElementsAre(Pair("qtpiped=full", "none"), Pair("qtpiped=some", "RK:qtpiped=some")));
}

TEST_F(OfferedRequest, HasTheWholeNameOfALogDirectoryOrDoesNotExist) {
    const std::string debug = "/usr/kumel/volmgr/debug";
    for (const char* name : {"a=b", "a,b", "a b"}) {
        make_folder(logs_folder + "/" + name);
        make_folder(debug + "/" + name);
    }
    EXPECT_THAT(offered("ZMLOGDIR"),
                ElementsAre(Pair("a b=755", "ZMLOGDIR:a b=755"), Pair("a,b=755", "none"), Pair("a=b=755", "none")));
    EXPECT_THAT(offered("MMLOGDIR"),
                ElementsAre(Pair("a b=755", "MMLOGDIR:a b"), Pair("a,b=755", "none"), Pair("a=b=755", "MMLOGDIR:a=b")));
}

TEST_F(OfferedRequest, DoesNotExistForWhatIsSetBesideAnotherSetting) {
    write_file(plugin_file, "LOGLEVEL = 3\nDEBUGLOG = /\n");
    EXPECT_THAT(offered("RKPLUGIN"),
                ElementsAre(Pair("DEBUGLOG=/", "none"), Pair("rkplugin=3", "RKPLUGIN:rkplugin=3")));
    EXPECT_THAT(offered("JAVAGUI"),
                ElementsAre(Pair("debugMask=0x1", "JAVAGUI:debugMask=0x1"), Pair("printcmds=false", "none")));
}
