#include "tests/reliability/scenarios.h"

#include <ostream>
#include <stdexcept>

#include "platform/posix.h"
#include "tests/support/product_tree.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

const std::string connection_broker_tool = "/opt/HOLKkob/bin/ktlogcfg";
const std::string collection = "/tmp/zmla-12345678901234567890123456789-abcdef";
const std::string plugins = "/usr/kumel/lib/stg-plugins/";

Scenario rewrite(const std::string& name, const Request& request, const std::string& path, const std::string& before,
                 const std::string& claim) {
    return {.name = name,
            .request = request,
            .changes = {{.path = path, .rules = Rules::safe_rewrite, .before = before, .claim = claim}}};
}

// Requests edit these files once for each of two settings.
bool is_edited_twice(const std::string& path) {
    return path.ends_with(".properties") || path == plugins + "rk.conf";
}

Scenario edit(const std::string& name, const std::string& word, const std::string& argument, const std::string& path,
              const std::string& before) {
    const std::size_t end_of_name = argument.find('=');
    return {.name = name,
            .request = {word, argument},
            .changes = {{.path = path,
                         .before = before,
                         .claim = "PROCESS=" + argument.substr(0, end_of_name) + " STATUS=0 ",
                         .in_two_steps = is_edited_twice(path)}}};
}

const ChangedPath product_log_folder = {
    .path = "/usr/kumel/zembrath/logs/daemon1", .rules = Rules::made, .claim = "PROCESS=ZMLOGDIR:daemon1 STATUS=0 "};
const ChangedPath volume_manager_log_folder = {
    .path = "/usr/kumel/volmgr/debug/daemon2", .rules = Rules::made, .claim = "PROCESS=MMLOGDIR:daemon2 STATUS=0 "};
const ChangedPath broker_arguments = {
    .path = "/tmp/broker", .rules = Rules::made, .claim = "PROCESS=KOB:kob STATUS=0 "};

void install_broker_tool() {
    install_tool(connection_broker_tool, {stand_in::run(": > /tmp/broker")});
}

Scenario all_categories() {
    const std::string store = "# levels\n111.DebugLevel=1\n";
    const auto safe = [](const std::string& path, const std::string& before, const std::string& claim) {
        return ChangedPath{.path = path, .rules = Rules::safe_rewrite, .before = before, .claim = claim};
    };
    const auto plain = [](const std::string& path, const std::string& before, const std::string& claim) {
        return ChangedPath{.path = path, .before = before, .claim = claim, .in_two_steps = is_edited_twice(path)};
    };
    return {.name = "AllCategories",
            .request = {"ENABLELOGGING", "ZMKTUL:111=5", "QPKTUL:111=5", "SEARCHKTUL:111=5", "ZMLOGDIR:daemon1",
                        "MMLOGDIR:daemon2", "QRCONF:JOBD_VERBOSE", "RK:qtpiped", "RKPLUGIN:rkplugin", "KOB:kob=3",
                        "CORVID:zmwqf", "CLOUD:skyhold", "JAVAGUI:gui", "HOLKAZ:az", "VMCONF:vmd"},
            .changes = {safe("/usr/kumel/ktul/51216.conf", store, "PROCESS=ZMKTUL:111 STATUS=0 "),
                        safe("/usr/kumel/ktul/58330.conf", store, "PROCESS=QPKTUL:111 STATUS=0 "),
                        safe("/usr/kumel/ktul/60385.conf", store, "PROCESS=SEARCHKTUL:111 STATUS=0 "),
                        product_log_folder, volume_manager_log_folder,
                        safe(main_configuration, "SERVER = localhost\n", "PROCESS=QRCONF:JOBD_VERBOSE STATUS=0 "),
                        plain(plugins + "qtpipe.conf", "A = 1\n", "PROCESS=RK:qtpiped STATUS=0 "),
                        plain(plugins + "rk.conf", "#DEBUGLOG = /\n", "PROCESS=RKPLUGIN:rkplugin STATUS=0 "),
                        broker_arguments, plain(plugins + "wqf.conf", "A = 1\n", "PROCESS=CORVID:zmwqf STATUS=0 "),
                        plain(plugins + "skyhold.conf", "A = 1\n", "PROCESS=CLOUD:skyhold STATUS=0 "),
                        plain("/usr/kumel/java/Debug.properties", "a=b\n", "PROCESS=JAVAGUI:gui STATUS=0 "),
                        plain("/usr/kumel/zembrath/sec/az/bin/HOLKaz.conf", "A = 1\n", "PROCESS=HOLKAZ:az STATUS=0 "),
                        plain("/usr/kumel/volmgr/vm.conf", "A = 1\n#VERBOSE\n", "PROCESS=VMCONF:vmd STATUS=0 ")},
            .prepare = install_broker_tool};
}

std::vector<Scenario> safe_rewrites() {
    const std::string main_text = "# trusted\nSERVER = localhost\nJOBD_VERBOSE = 1\n# end\n";
    const std::string store_text = "# levels\n111.DebugLevel=3\n111.DiagnosticLevel=4\n117.DebugLevel=2\n";
    return {
        rewrite("SetMainConfiguration", {"ENABLELOGGING", "QRCONF:jobd_verbose,reqd_verbose=3"}, main_configuration,
                main_text, "PROCESS=QRCONF:reqd_verbose STATUS=0 "),
        rewrite("RemoveFromMainConfiguration", {"RESETLOGGING", "QRCONF:JOBD_VERBOSE=-1"}, main_configuration,
                main_text, "PROCESS=QRCONF:JOBD_VERBOSE STATUS=0 "),
        rewrite("SetLevel", {"ENABLELOGGING", "ZMKTUL:111=5"}, "/usr/kumel/ktul/51216.conf", store_text,
                "PROCESS=ZMKTUL:111 STATUS=0 "),
        rewrite("RemoveLevel", {"RESETLOGGING", "ZMKTUL:111=1"}, "/usr/kumel/ktul/51216.conf", store_text,
                "PROCESS=ZMKTUL:111 STATUS=0 "),
        rewrite("SetLevelOfAnotherProduct", {"ENABLELOGGING", "SEARCHKTUL:111=5"}, "/usr/kumel/ktul/60385.conf",
                store_text, "PROCESS=SEARCHKTUL:111 STATUS=0 "),
    };
}

Scenario edit_of_the_registered_file() {
    const std::string path = "/usr/kumel/kpa.cfg";
    Scenario scenario = edit("SetNamedDeduplicationFile", "ENABLELOGGING", "RK:other=full", path, "A=1\n");
    scenario.prepare = [path] { write_file("/etc/rkregistry.cfg", "CFG=" + path + "\n"); };
    return scenario;
}

std::vector<Scenario> edits() {
    const std::string properties = "/usr/kumel/java/Debug.properties";
    return {
        edit("EnableVolumeManager", "ENABLELOGGING", "VMCONF:vmd", "/usr/kumel/volmgr/vm.conf",
             "A = 1\n#VERBOSE\nB = 2\n"),
        edit("DisableVolumeManager", "DISABLELOGGING", "VMCONF:vmd", "/usr/kumel/volmgr/vm.conf",
             "A = 1\nVERBOSE\nB = 2\n"),
        edit("EnableConsole", "ENABLELOGGING", "JAVAGUI:gui", properties, "a=b\n#printcmds=true\n"),
        edit("DisableConsole", "DISABLELOGGING", "JAVAGUI:gui", properties, "a=b\nprintcmds=true\ndebugMask=1\n"),
        edit("SetFixedDeduplicationFile", "ENABLELOGGING", "RK:qtpiped", plugins + "qtpipe.conf", "A = 1\n"),
        edit_of_the_registered_file(),
        edit("SetStoragePlugin", "ENABLELOGGING", "RKPLUGIN:rkplugin", plugins + "rk.conf", "A = 1\n#DEBUGLOG = /\n"),
        edit("SetStorageServer", "ENABLELOGGING", "CORVID:zmwqf", plugins + "wqf.conf", "A = 1\n"),
        edit("SetRecoveryServer", "ENABLELOGGING", "CORVID:other", plugins + "hlt.conf", "A = 1\n"),
        edit("SetStoreContainer", "ENABLELOGGING", "CLOUD:skyhold=3", plugins + "skyhold.conf", "A = 1\n"),
        edit("SetAuthorization", "ENABLELOGGING", "HOLKAZ:az", "/usr/kumel/zembrath/sec/az/bin/HOLKaz.conf", "A = 1\n"),
    };
}

std::vector<Scenario> other_logging_requests() {
    return {
        {.name = "MakeLogFolder", .request = {"ENABLELOGGING", "ZMLOGDIR:daemon1"}, .changes = {product_log_folder}},
        {.name = "MakeVolumeManagerLogFolder",
         .request = {"ENABLELOGGING", "MMLOGDIR:daemon2"},
         .changes = {volume_manager_log_folder}},
        {.name = "RunBrokerTool",
         .request = {"ENABLELOGGING", "KOB:kob=3"},
         .changes = {broker_arguments},
         .prepare = install_broker_tool},
        {.name = "MalformedLoggingRequest", .request = {"ENABLELOGGING", "no colon"}},
        all_categories(),
    };
}

std::vector<Scenario> collections() {
    using stand_in::exit_with;
    using stand_in::fill_last_argument;
    using stand_in::print;
    const std::string evidence = "/tmp/evidence";
    const ChangedPath made = {.path = evidence, .rules = Rules::made, .claim = "collected"};
    return {
        {.name = "CollectLogs",
         .request = {"RUNZMCPLOGS", "--collectdir", evidence},
         .changes = {made},
         .prepare = with_tool(zmcplogs_tool, {fill_last_argument({"log"}), print("collected\n")})},
        {.name = "FailToCollectLogs",
         .request = {"RUNZMCPLOGS", "--collectdir", evidence},
         .prepare = with_tool(zmcplogs_tool, {fill_last_argument({"log", "more/log"}), exit_with(3)})},
        {.name = "RunSupportUtility",
         .request = {"RUNZMSU", "--collectdir", evidence},
         .changes = {made},
         .prepare = with_tool(zmsu_tool, {fill_last_argument({"package"}), print("collected\n")})},
        {.name = "FailToRunSupportUtility",
         .request = {"RUNZMSU", "--collectdir", evidence},
         .prepare = with_tool(zmsu_tool, {fill_last_argument({"package"}), exit_with(3)})},
        {.name = "CalculateSize",
         .request = {"CALCLOGSIZE", "--collectdir", evidence},
         .prepare = with_tool(zmcplogs_tool, {print("12 MB\n")})},
    };
}

std::vector<Scenario> other_requests() {
    return {
        {.name = "MeasureSpace", .request = {"GETDISKSPACE", "/tmp", "/usr/kumel"}},
        {.name = "CleanUp",
         .request = {"CLEANUP", collection},
         .changes = {{.path = collection + "/a", .rules = Rules::made, .before = "collected\n"},
                     {.path = collection + "/b",
                      .rules = Rules::made,
                      .before = "collected\n",
                      .claim = "CLEANUP: Successfully cleaned up " + collection}}},
        {.name = "RejectACleanUp", .request = {"CLEANUP", "/tmp/other"}},
        {.name = "ForwardToAnotherHost",
         .request = {"ZMLA", "GETDISKSPACE"},
         .prepare = with_tool(zmlogadm_tool, {stand_in::print("answer\n")})},
        {.name = "FetchFile", .request = {"FETCHFILE", "any"}},
    };
}

std::vector<Scenario> tools() {
    using stand_in::exit_with;
    using stand_in::print;
    return {
        {.name = "SupportUtility", .request = {"zmsu", "-x"}, .prepare = with_tool(zmsu_tool, {print("answer\n")})},
        {.name = "LogCopier",
         .request = {"zmcplogs", "-x"},
         .prepare = with_tool(zmcplogs_tool, {print("answer\n"), exit_with(5)})},
        {.name = "LoggingTool", .request = {"ktlogcfg"}, .prepare = with_tool(ktlogcfg_tool, {print("answer\n")})},
        {.name = "VersionTool",
         .request = {"versioninfo"},
         .prepare = with_tool(versioninfo_tool, {stand_in::die_of("TERM")})},
        {.name = "MissingTool", .request = {"versioninfo"}},
    };
}

std::function<ConnectedSockets()> over_tcp(int port) {
    return [port] { return connect_over_tcp({.peer_port = port}); };
}

std::function<void()> with_servers(const std::string& lines) {
    return [lines] { write_file(main_configuration, lines); };
}

std::vector<Scenario> answers_to_peers() {
    constexpr int reserved_port = 1023;
    const Request request = {"GETDISKSPACE", "/tmp"};
    return {
        {.name = "TrustedPeerOverTcp", .request = request, .connect = over_tcp(reserved_port)},
        {.name = "UnknownUserOverTcp", .request = request, .connect = over_tcp(0)},
        {.name = "UnlistedHost", .request = request, .prepare = with_servers("SERVER = 192.0.2.1\n")},
        {.name = "HostListedByName",
         .request = request,
         .prepare = with_servers("SERVER = nobody.example.test\nSERVER = localhost\n"),
         .connect = over_tcp(reserved_port)},
        {.name = "NoServers", .request = request, .prepare = with_servers("")},
        {.name = "NoMainConfiguration", .request = request, .prepare = [] { remove_tree(main_configuration); }},
        {.name = "NoLogFolder", .request = request, .prepare = [] { remove_tree(logs_folder); }},
        {.name = "InvalidWord", .request = {"NOSUCHWORD"}},
        {.name = "MalformedRequest", .bytes = "not a request"},
        {.name = "TooLongText", .bytes = "1:1,4096:"},
    };
}

std::vector<Scenario> collect() {
    std::vector<Scenario> all;
    for (const std::vector<Scenario>& more : {safe_rewrites(), edits(), other_logging_requests(), collections(),
                                              other_requests(), tools(), answers_to_peers()}) {
        all.insert(all.end(), more.begin(), more.end());
    }
    return all;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Scenario& scenario) {
    return out << scenario.name;
}

const std::vector<Scenario>& scenarios() {
    static const std::vector<Scenario> all = collect();
    return all;
}

void set_up(const Scenario& scenario) {
    constexpr unsigned mode = 0640;
    make_product_tree();
    for (const ChangedPath& change : scenario.changes) {
        if (change.rules == Rules::made && change.before.empty()) {
            continue;
        }
        write_file(change.path, change.before);
        set_mode(change.path, mode);
    }
    scenario.prepare();
}

ConnectedSockets connect_and_ask(const Scenario& scenario) {
    ConnectedSockets connection = scenario.connect();
    const std::string bytes = scenario.bytes.empty() ? netstrings(scenario.request) : scenario.bytes;
    if (!write_all(connection.peer_end.get(), bytes)) {
        throw std::runtime_error("the request could not be sent");
    }
    return connection;
}
