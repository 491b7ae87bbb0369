#include "logging_config/logging_request.h"

#include <cerrno>

#include "tests/unit/agent_test.h"

namespace {

using recording_platform::calls_of;
using recording_platform::messages;
using recording_platform::messages_in_full;
using recording_platform::messages_under;

using log_level::error;
using log_level::information;
constexpr const char* tag = "handle_logging";
const std::string volume_manager_file = "/usr/kumel/volmgr/vm.conf";

class SplitCategoryArguments : public AgentTest {
  protected:
    int split(const std::string& argument) { return split_ctgy_args(argument, category_, values_); }

    void expect_malformed(const std::string& argument, const std::string& format, int position) {
        recording_platform::reset();
        EXPECT_EQ(split(argument), 5822) << argument;
        EXPECT_EQ(values_, Texts{});
        const auto in_full = messages_in_full();
        ASSERT_EQ(in_full.size(), 1U);
        // The format of the message is passed as the tag, and the argument as the format.
        EXPECT_EQ(in_full[0].line, (LogLine{error, "Invalid 'ctgy:args' format: %s Position=%d RV=%d", argument}));
        EXPECT_EQ(in_full[0].format, format);
        EXPECT_EQ(in_full[0].numbers, (std::vector<int>{position, 5822}));
    }

    std::string category_;
    Texts values_;
};

TEST_F(SplitCategoryArguments, SplitsAtTheColonAndTheCommas) {
    EXPECT_EQ(split("ZMKTUL:111=6,117"), 0);
    EXPECT_EQ(category_, "ZMKTUL");
    EXPECT_EQ(values_, (Texts{"111=6", "117"}));
    EXPECT_EQ(messages(), Lines{});
}

TEST_F(SplitCategoryArguments, KeepsEmptyValuesBetweenCommas) {
    EXPECT_EQ(split("ZMKTUL:a,,b"), 0);
    EXPECT_EQ(values_, (Texts{"a", "", "b"}));
}

TEST_F(SplitCategoryArguments, KeepsEmptyValuesAtBothEnds) {
    EXPECT_EQ(split("ZMKTUL:,a,"), 0);
    EXPECT_EQ(values_, (Texts{"", "a", ""}));
}

TEST_F(SplitCategoryArguments, SplitsABareCommaIntoTwoEmptyValues) {
    EXPECT_EQ(split("ZMKTUL:,"), 0);
    EXPECT_EQ(values_, (Texts{"", ""}));
}

TEST_F(SplitCategoryArguments, TrimsNothing) {
    EXPECT_EQ(split(" Z : a , b "), 0);
    EXPECT_EQ(category_, " Z ");
    EXPECT_EQ(values_, (Texts{" a ", " b "}));
}

TEST_F(SplitCategoryArguments, SplitsOnlyAtTheFirstColon) {
    EXPECT_EQ(split("A,B:c:d,e:"), 0);
    EXPECT_EQ(category_, "A,B");
    EXPECT_EQ(values_, (Texts{"c:d", "e:"}));
}

TEST_F(SplitCategoryArguments, AcceptsAnEmptyCategory) {
    category_ = "before";
    EXPECT_EQ(split(":x"), 0);
    EXPECT_EQ(category_, "");
    EXPECT_EQ(values_, Texts{"x"});
}

TEST_F(SplitCategoryArguments, AppendsToTheValues) {
    values_ = {"kept"};
    EXPECT_EQ(split("A:b"), 0);
    EXPECT_EQ(values_, (Texts{"kept", "b"}));
}

TEST_F(SplitCategoryArguments, RejectsAnArgumentWithoutAColon) {
    expect_malformed("ZMKTUL", "ZMKTUL", -1);
    expect_malformed("a,b=c", "a,b=c", -1);
    expect_malformed("", "", -1);
}

TEST_F(SplitCategoryArguments, RejectsAnArgumentThatEndsInItsColon) {
    expect_malformed("ZMKTUL:", "ZMKTUL:", 6);
    expect_malformed(":", ":", 0);
}

TEST_F(SplitCategoryArguments, LogsAMalformedArgumentUnchanged) {
    expect_malformed("%s%n %d 100%", "%%s%%n %%d 100%%", -1);
    expect_malformed("%%:", "%%%%:", 2);
}

class HandleLogging : public ProductPathTest {
  protected:
    int handle(const RequestVector& request, const char* action = "enable") {
        return call_that_forks([&] { return handle_logging(request, socket_.agent(), action); });
    }

    static std::string directory_line(const std::string& name) {
        return "PROCESS=ZMLOGDIR:" + name + " STATUS=0 MSG=Set up log directory DIR=/usr/kumel/zembrath/logs/" + name +
               " Perm=755\n";
    }

    AgentConnection socket_;
};

TEST_F(HandleLogging, SendsNothingWithoutACategory) {
    EXPECT_EQ(handle({"ENABLELOGGING"}), 0);
    EXPECT_EQ(socket_.received(), "");
    EXPECT_EQ(messages(), (Lines{{information, tag, "enable logging C=ENABLELOGGING"}}));
}

TEST_F(HandleLogging, SendsEachLineWithItsOwnLengthInOrder) {
    EXPECT_EQ(handle({"ENABLELOGGING", "ZMLOGDIR:a,b"}), 0);
    const std::string a = directory_line("a");
    const std::string b = directory_line("b");
    EXPECT_EQ(socket_.received(), a + b);
    const std::string length = std::to_string(a.size());
    EXPECT_EQ(messages_under(tag), (Lines{{information, tag, "enable logging C=ENABLELOGGING"},
                                          {information, tag, "Responding (len=" + length + ") " + a},
                                          {information, tag, "Responding (len=" + length + ") " + b}}));
}

TEST_F(HandleLogging, SendsTheLinesOnlyWhenAllCategoriesAreDone) {
    handle({"ENABLELOGGING", "ZMLOGDIR:a", "ZMLOGDIR:b"});
    Texts order;
    for (const LogLine& line : messages()) {
        order.push_back(line.tag);
    }
    EXPECT_EQ(order, (Texts{tag, "process_zmulogdir", "process_zmulogdir", tag, "socksend", "socksend", tag, "socksend",
                            "socksend"}));
}

TEST_F(HandleLogging, SkipsAnUnknownCategorySilently) {
    for (const std::string argument : {"FOO:x", ":x", "zmlogdir:x", "ZMLOGDIR :x", "ZMLOGDIRS:x"}) {
        recording_platform::reset();
        EXPECT_EQ(handle({"ENABLELOGGING", argument}), 0);
        EXPECT_EQ(socket_.received(), "");
        EXPECT_EQ(messages().size(), 1U) << argument;
    }
}

TEST_F(HandleLogging, ReturnsTheStatusOfTheLastCategory) {
    EXPECT_EQ(handle({"ENABLELOGGING", "ZMLOGDIR:x", "KOB:kob=11"}), 5809);
    EXPECT_EQ(handle({"ENABLELOGGING", "KOB:kob=11", "ZMLOGDIR:x"}), 0);
    EXPECT_EQ(handle({"ENABLELOGGING", "KOB:kob=11", "FOO:x"}), 0);
}

TEST_F(HandleLogging, SendsTheLinesOfAFailingCategoryToo) {
    EXPECT_EQ(handle({"ENABLELOGGING", "VMCONF:x", "ZMLOGDIR:y"}), 0);
    EXPECT_EQ(socket_.received(), "PROCESS=VMCONF:x STATUS=5803 MSG=Could not open file " + volume_manager_file +
                                      " E=2 (No such file or directory)\n" + directory_line("y"));
}

TEST_F(HandleLogging, StopsAtAMalformedArgumentAndSendsNothing) {
    write_file(volume_manager_file, "");
    EXPECT_EQ(handle({"ENABLELOGGING", "VMCONF:x", "ZMKTUL", "ZMLOGDIR:y"}), 5822);
    EXPECT_EQ(socket_.received(), "");
    EXPECT_EQ(read_file(volume_manager_file), "VERBOSE\n");
    EXPECT_EQ(calls_of("mklogdirpath"), Texts{});
}

TEST_F(HandleLogging, StartsEachCategoryWithoutTheValuesOfTheOneBefore) {
    handle({"ENABLELOGGING", "ZMLOGDIR:a,b", "ZMLOGDIR:c"});
    EXPECT_EQ(socket_.received(), directory_line("a") + directory_line("b") + directory_line("c"));
}

TEST_F(HandleLogging, Returns5796AndContinuesWhenALineIsNotSent) {
    overrides.watched_descriptor = socket_.agent();
    overrides.writes = {{.accepted = 5}, {.accepted = -1, .error = ECONNRESET}};
    EXPECT_EQ(handle({"ENABLELOGGING", "ZMLOGDIR:a,b"}), 5796);
    EXPECT_EQ(socket_.received(), directory_line("a").substr(0, 5) + directory_line("b"));
    EXPECT_EQ(messages_under(tag).at(2), (LogLine{error, tag,
                                                  "failed to send response: " + directory_line("a") +
                                                      " (SFD=" + std::to_string(socket_.agent()) + ")"}));
}

TEST_F(HandleLogging, Returns5796EvenWhenTheLastCategoryFailed) {
    const std::string line =
        "PROCESS=MMLOGDIR:ALL STATUS=1 MSG=Failed to create DIR=/usr/kumel/volmgr/debug E=2 (No such file or "
        "directory)\n";
    EXPECT_EQ(handle({"ENABLELOGGING", "MMLOGDIR:a"}), 1);
    EXPECT_EQ(socket_.received(), line);
    overrides.watched_descriptor = socket_.agent();
    overrides.writes = {{.accepted = -1, .error = EPIPE}};
    EXPECT_EQ(handle({"ENABLELOGGING", "MMLOGDIR:a"}), 5796);
    EXPECT_EQ(socket_.received(), "");
}

TEST_F(HandleLogging, DoesNotUseThePeersTextAsAFormat) {
    EXPECT_EQ(handle({"%s%n", "ZMLOGDIR:%s%n"}, "enable"), 0);
    EXPECT_EQ(socket_.received(), directory_line("%s%n"));
    EXPECT_EQ(messages().front(), (LogLine{information, tag, "enable logging C=%s%n"}));
}

// Which handler gets the values of a category, and with which arguments.
class CategoryTable : public HandleLogging {
  protected:
    std::string answer(const std::string& argument, const char* action = "enable") {
        handle({"WORD", argument}, action);
        return socket_.received();
    }
};

TEST_F(CategoryTable, PassesItsProductToEachUnifiedLoggingCategory) {
    EXPECT_EQ(answer("ZMKTUL:7=2"), "PROCESS=ZMKTUL:7 STATUS=0 MSG=DEBUG:7=1,7=2 DIAG:7=6,7=6\n");
    EXPECT_EQ(answer("QPKTUL:7=2"), "PROCESS=QPKTUL:7 STATUS=0 MSG=DEBUG:7=1,7=2 DIAG:7=6,7=6\n");
    EXPECT_EQ(answer("SEARCHKTUL:7=2"), "PROCESS=SEARCHKTUL:7 STATUS=0 MSG=DEBUG:7=1,7=2 DIAG:7=6,7=6\n");
    EXPECT_EQ(calls_of("holkLogReadCfg"), (Texts{"holkLogReadCfg 51216 112", "holkLogReadCfg 51216 7",
                                                 "holkLogReadCfg 58330 7", "holkLogReadCfg 60385 7"}));
}

TEST_F(CategoryTable, PassesTheActionToTheLogDirectories) {
    make_folder("/usr/kumel/volmgr");
    for (const std::string action : {"enable", "disable", "reset"}) {
        recording_platform::reset();
        answer("ZMLOGDIR:a", action.c_str());
        answer("MMLOGDIR:a", action.c_str());
        const LogLine first_line = messages_under("process_zmulogdir").front();
        EXPECT_EQ(first_line.text == "Invalid action=" + action, action != "enable") << first_line.text;
        EXPECT_EQ(messages_under("process_mmlogdir").front(),
                  (LogLine{information, "process_mmlogdir", "Action=" + action + ", DIR=/usr/kumel/volmgr/debug/a"}));
    }
}

TEST_F(CategoryTable, PassesTheActionToTheConsoleAndTheVolumeManager) {
    const std::string console_file = "/usr/kumel/java/Debug.properties";
    for (const char* action : {"disable", "reset"}) {
        write_file(console_file, "printcmds=true\ndebugMask=1\n");
        write_file(volume_manager_file, "VERBOSE\n");
        EXPECT_EQ(answer("JAVAGUI:a", action), "PROCESS=JAVAGUI:a STATUS=0 MSG=Set up Debug.properties\n");
        EXPECT_EQ(answer("VMCONF:a", action), "PROCESS=VMCONF:a STATUS=0 MSG=Set debug logging\n");
        EXPECT_EQ(read_file(console_file), "#printcmds=true\n#debugMask=1\n");
        EXPECT_EQ(read_file(volume_manager_file), "#VERBOSE\n");
    }
}

TEST_F(CategoryTable, CallsTheHandlersOfTheOtherCategories) {
    const std::string plugins = "/usr/kumel/lib/stg-plugins/";
    write_file(plugins + "qtpipe.conf", "");
    write_file(plugins + "rk.conf", "DEBUGLOG = /\n");
    write_file(plugins + "hlt.conf", "");
    write_file(plugins + "skyhold.conf", "");
    write_file("/usr/kumel/zembrath/sec/az/bin/HOLKaz.conf", "");
    write_tool("/opt/HOLKkob/bin/ktlogcfg", "");
    for (const char* action : {"enable", "disable", "reset"}) {
        EXPECT_EQ(answer("QRCONF:a", action), "PROCESS=QRCONF:a STATUS=0 MSG=Set up\n");
        EXPECT_EQ(answer("RK:qtpiped", action), "PROCESS=RK:qtpiped STATUS=0 MSG=Set debug logging 'full'\n");
        EXPECT_EQ(answer("RKPLUGIN:rkplugin", action),
                  "PROCESS=RKPLUGIN:rkplugin STATUS=0 MSG=Set up rkplugin debug logging\n");
        EXPECT_EQ(answer("KOB:kob=5", action), "PROCESS=KOB:kob STATUS=0 MSG=Success\n");
        EXPECT_EQ(answer("CORVID:a", action), "PROCESS=CORVID:a STATUS=0 MSG=Set up a debug logging\n");
        EXPECT_EQ(answer("CLOUD:a", action), "PROCESS=CLOUD:a STATUS=0 MSG=Set up a debug logging\n");
        EXPECT_EQ(answer("HOLKAZ:a", action), "PROCESS=HOLKAZ:a STATUS=0 MSG=Set up a debug logging\n");
    }
}

}  // namespace
