// ENABLELOGGING, DISABLELOGGING and RESETLOGGING: arguments, the order of categories, and the status.
#include <cerrno>
#include <cstring>

#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/request_case.h"
#include "tests/support/test_files.h"

namespace {

using log_level::error;
using log_level::information;

LogLine begins(const std::string& action, const std::string& word) {
    return {information, "handle_logging", action + " logging C=" + word};
}

// A response line as the log shows it.
LogLine line_of(const std::string& handler, const std::string& line, int level = information) {
    return {level, handler, line + "\\n"};
}

LogLine responding(const std::string& line) {
    return {information, "handle_logging", "Responding (len=" + std::to_string(line.size() + 1) + ") " + line + "\\n"};
}

// The message about a malformed argument has the format as its tag, unfilled, and the argument as its text. The parser
// of log lines ends the tag at the first ": ".
LogLine malformed(const std::string& argument) {
    return {error, "Invalid 'ctgy:args' format", "%s Position=%d RV=%d: " + argument};
}

const std::string vmconf_x = "PROCESS=VMCONF:x STATUS=0 MSG=Set debug logging";
const std::string vmconf_missing =
    std::string("PROCESS=VMCONF:x STATUS=5803 MSG=Could not open file /usr/kumel/volmgr/vm.conf E=2 (") +
    strerror(ENOENT) + ")";
const std::string mmlogdir_missing =
    std::string("PROCESS=MMLOGDIR:ALL STATUS=1 MSG=Failed to create DIR=/usr/kumel/volmgr/debug E=2 (") +
    strerror(ENOENT) + ")";

std::string zmlogdir(const std::string& name, const std::string& permissions = "755") {
    return "PROCESS=ZMLOGDIR:" + name + " STATUS=0 MSG=Set up log directory DIR=/usr/kumel/zembrath/logs/" + name +
           " Perm=" + permissions;
}

const FileState vm_conf = file("/usr/kumel/volmgr/vm.conf", "");
const FileState vm_conf_verbose = file("/usr/kumel/volmgr/vm.conf", "VERBOSE\n");

class LoggingRequest : public RequestTable {};

TEST_P(LoggingRequest, AnswersLogsAndChangesFiles) {
    check(GetParam());
}

const std::vector<RequestCase> requests_without_work = {
    {.name = "EnableWithoutArguments", .request = {"ENABLELOGGING"}, .log = {begins("enable", "ENABLELOGGING")}},
    {.name = "DisableWithoutArguments", .request = {"DISABLELOGGING"}, .log = {begins("disable", "DISABLELOGGING")}},
    {.name = "ResetWithoutArguments", .request = {"RESETLOGGING"}, .log = {begins("reset", "RESETLOGGING")}},
    {
        .name = "UnknownCategory",
        .request = {"ENABLELOGGING", "FOO:x"},
        .log = {begins("enable", "ENABLELOGGING")},
    },
    {
        .name = "CategoryInLowerCase",
        .request = {"ENABLELOGGING", "vmconf:x"},
        .before = {vm_conf},
        .log = {begins("enable", "ENABLELOGGING")},
        .after = {vm_conf},
    },
    {
        .name = "CategoryWithASpace",
        .request = {"ENABLELOGGING", " VMCONF:x", "VMCONF :x"},
        .before = {vm_conf},
        .log = {begins("enable", "ENABLELOGGING")},
        .after = {vm_conf},
    },
    {
        .name = "EmptyCategory",
        .request = {"ENABLELOGGING", ":VMCONF:x"},
        .before = {vm_conf},
        .log = {begins("enable", "ENABLELOGGING")},
        .after = {vm_conf},
    },
};

INSTANTIATE_TEST_SUITE_P(NothingToDo, LoggingRequest, testing::ValuesIn(requests_without_work), name_of_row);

// A single malformed argument.
RequestCase rejection(const std::string& name, const std::string& argument, const std::string& logged) {
    return {
        .name = name,
        .request = {"ENABLELOGGING", argument},
        .before = {vm_conf},
        .status = 5822,
        .log = {begins("enable", "ENABLELOGGING"), malformed(logged)},
        .after = {vm_conf},
    };
}

const std::vector<RequestCase> rejections = {
    rejection("NoColon", "VMCONF", "VMCONF"),
    rejection("NothingAfterTheColon", "VMCONF:", "VMCONF:"),
    rejection("OnlyAColon", ":", ":"),
    rejection("Empty", "", ""),
    rejection("CommaWithoutAColon", "a,b", "a,b"),
    rejection("PercentSigns", "%s%d%n%%", "%s%d%n%%"),
    rejection("Newline", "VMCONF\nx", "VMCONF\\nx"),
    {
        .name = "AfterAGoodOneWithoutAnAnswer",
        .request = {"ENABLELOGGING", "VMCONF:x", "ZMLOGDIR:y", "VMCONF", "ZMLOGDIR:z"},
        .before = {vm_conf},
        .status = 5822,
        .log = {begins("enable", "ENABLELOGGING"), line_of("process_vmconf", vmconf_x),
                line_of("process_zmulogdir", zmlogdir("y")), malformed("VMCONF")},
        .after = {vm_conf_verbose, folder("/usr/kumel/zembrath/logs/y"), missing("/usr/kumel/zembrath/logs/z")},
    },
};

INSTANTIATE_TEST_SUITE_P(Rejection, LoggingRequest, testing::ValuesIn(rejections), name_of_row);

const LogLine invalid_disable = {error, "process_zmulogdir", "Invalid action=disable"};
const LogLine invalid_reset = {error, "process_zmulogdir", "Invalid action=reset"};

const std::vector<RequestCase> actions = {
    {
        .name = "Enable",
        .request = {"ENABLELOGGING", "ZMLOGDIR:a"},
        .answer = zmlogdir("a") + "\n",
        .log = {begins("enable", "ENABLELOGGING"), line_of("process_zmulogdir", zmlogdir("a")),
                responding(zmlogdir("a"))},
        .after = {folder("/usr/kumel/zembrath/logs/a")},
    },
    {
        .name = "Disable",
        .request = {"DISABLELOGGING", "ZMLOGDIR:a"},
        .answer = zmlogdir("a", "0") + "\n",
        .log = {begins("disable", "DISABLELOGGING"), invalid_disable, line_of("process_zmulogdir", zmlogdir("a", "0")),
                responding(zmlogdir("a", "0"))},
        .after = {missing("/usr/kumel/zembrath/logs/a")},
    },
    {
        .name = "Reset",
        .request = {"RESETLOGGING", "ZMLOGDIR:a"},
        .answer = zmlogdir("a", "0") + "\n",
        .log = {begins("reset", "RESETLOGGING"), invalid_reset, line_of("process_zmulogdir", zmlogdir("a", "0")),
                responding(zmlogdir("a", "0"))},
        .after = {missing("/usr/kumel/zembrath/logs/a")},
    },
};

INSTANTIATE_TEST_SUITE_P(Action, LoggingRequest, testing::ValuesIn(actions), name_of_row);

// A request that disables values. It answers one line for each and changes nothing.
RequestCase split(const std::string& name, const std::string& argument, const std::vector<std::string>& values) {
    RequestCase row = {.name = name, .request = {"DISABLELOGGING", argument}};
    row.log = {begins("disable", "DISABLELOGGING")};
    for (const std::string& value : values) {
        row.answer += zmlogdir(value, "0") + "\n";
        row.log.push_back(invalid_disable);
        row.log.push_back(line_of("process_zmulogdir", zmlogdir(value, "0")));
    }
    for (const std::string& value : values) {
        row.log.push_back(responding(zmlogdir(value, "0")));
    }
    return row;
}

const std::vector<RequestCase> splits = {
    split("OneValue", "ZMLOGDIR:a", {"a"}),
    split("TwoValues", "ZMLOGDIR:a,b", {"a", "b"}),
    split("EmptyValueInTheMiddle", "ZMLOGDIR:a,,b", {"a", "", "b"}),
    split("EmptyLastValue", "ZMLOGDIR:a,", {"a", ""}),
    split("EmptyFirstValue", "ZMLOGDIR:,a", {"", "a"}),
    split("OnlyAComma", "ZMLOGDIR:,", {"", ""}),
    split("KeepsSpaces", "ZMLOGDIR: a , b ", {" a ", " b "}),
    split("SecondColonBelongsToTheValue", "ZMLOGDIR:a:b,c", {"a:b", "c"}),
};

INSTANTIATE_TEST_SUITE_P(Values, LoggingRequest, testing::ValuesIn(splits), name_of_row);

const std::vector<RequestCase> several_categories = {
    {
        .name = "LinesInTheOrderOfTheArguments",
        .request = {"ENABLELOGGING", "VMCONF:x", "ZMLOGDIR:y"},
        .before = {vm_conf},
        .answer = vmconf_x + "\n" + zmlogdir("y") + "\n",
        .log = {begins("enable", "ENABLELOGGING"), line_of("process_vmconf", vmconf_x),
                line_of("process_zmulogdir", zmlogdir("y")), responding(vmconf_x), responding(zmlogdir("y"))},
        .after = {vm_conf_verbose, folder("/usr/kumel/zembrath/logs/y")},
    },
    {
        .name = "FailureReportedOnlyInItsLine",
        .request = {"ENABLELOGGING", "VMCONF:x", "ZMLOGDIR:y"},
        .answer = vmconf_missing + "\n" + zmlogdir("y") + "\n",
        .log = {begins("enable", "ENABLELOGGING"),
                {error, "set_parameter_value",
                 std::string("Could not open file /usr/kumel/volmgr/vm.conf E=2 (") + strerror(ENOENT) + ")"},
                line_of("process_vmconf", vmconf_missing),
                line_of("process_zmulogdir", zmlogdir("y")),
                responding(vmconf_missing),
                responding(zmlogdir("y"))},
        .after = {folder("/usr/kumel/zembrath/logs/y")},
    },
    {
        .name = "FailureOfTheFirstHiddenByTheSecond",
        .request = {"ENABLELOGGING", "MMLOGDIR:x", "ZMLOGDIR:y"},
        .before = {missing("/usr/kumel/volmgr")},
        .answer = mmlogdir_missing + "\n" + zmlogdir("y") + "\n",
        .log = {begins("enable", "ENABLELOGGING"), line_of("process_mmlogdir", mmlogdir_missing, error),
                line_of("process_zmulogdir", zmlogdir("y")), responding(mmlogdir_missing), responding(zmlogdir("y"))},
    },
    {
        .name = "FailureOfTheLast",
        .request = {"ENABLELOGGING", "ZMLOGDIR:y", "MMLOGDIR:x"},
        .before = {missing("/usr/kumel/volmgr")},
        .answer = zmlogdir("y") + "\n" + mmlogdir_missing + "\n",
        .status = 1,
        .log = {begins("enable", "ENABLELOGGING"), line_of("process_zmulogdir", zmlogdir("y")),
                line_of("process_mmlogdir", mmlogdir_missing, error), responding(zmlogdir("y")),
                responding(mmlogdir_missing)},
    },
    {
        .name = "FailureHiddenByAnUnknownCategory",
        .request = {"ENABLELOGGING", "MMLOGDIR:x", "FOO:x"},
        .before = {missing("/usr/kumel/volmgr")},
        .answer = mmlogdir_missing + "\n",
        .log = {begins("enable", "ENABLELOGGING"), line_of("process_mmlogdir", mmlogdir_missing, error),
                responding(mmlogdir_missing)},
    },
    {
        .name = "SameCategoryTwice",
        .request = {"DISABLELOGGING", "ZMLOGDIR:a", "ZMLOGDIR:b"},
        .answer = zmlogdir("a", "0") + "\n" + zmlogdir("b", "0") + "\n",
        .log = {begins("disable", "DISABLELOGGING"), invalid_disable, line_of("process_zmulogdir", zmlogdir("a", "0")),
                invalid_disable, line_of("process_zmulogdir", zmlogdir("b", "0")), responding(zmlogdir("a", "0")),
                responding(zmlogdir("b", "0"))},
    },
};

INSTANTIATE_TEST_SUITE_P(SeveralCategories, LoggingRequest, testing::ValuesIn(several_categories), name_of_row);

class LoggingResponses : public ProductTest {};

TEST_F(LoggingResponses, AreAllTriedAfterThePeerHasClosed) {
    const AgentRun run = run_agent_without_peer({"ENABLELOGGING", "ZMLOGDIR:a,b"});
    EXPECT_EQ(run.exit_status(), 5796 & 0xff);
    EXPECT_THAT(run.request_log(),
                LogIs({
                    begins("enable", "ENABLELOGGING"),
                    line_of("process_zmulogdir", zmlogdir("a")),
                    line_of("process_zmulogdir", zmlogdir("b")),
                    responding(zmlogdir("a")),
                    {error, "handle_logging", "failed to send response: " + zmlogdir("a") + "\\n (SFD=3)"},
                    responding(zmlogdir("b")),
                    {error, "handle_logging", "failed to send response: " + zmlogdir("b") + "\\n (SFD=3)"},
                }));
    EXPECT_THAT(run.log, LogHas({information, "zmlogadmagent", "closing peer SOCK (3) in QAS NSC=5796"}));
}

}  // namespace
