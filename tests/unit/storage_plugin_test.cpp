// Category RKPLUGIN.

#include "logging_config/storage_plugin.h"

#include <cerrno>

#include "tests/unit/agent_test.h"

namespace {

using recording_platform::messages_under;

using log_level::error;
using log_level::information;
constexpr const char* tag = "process_rkplugin";
const std::string file = "/usr/kumel/lib/stg-plugins/rk.conf";
const std::string rejection = "PROCESS=RKPLUGIN STATUS=1 MSG=Only 'rkplugin' is valid 'RKPLUGIN' log ID\n";
const std::string success = "PROCESS=RKPLUGIN:rkplugin STATUS=0 MSG=Set up rkplugin debug logging\n";
const std::string notice = "INF: Parameter DEBUGLOG is not set in file " + file + "\n";

class ProcessRkplugin : public ProductPathTest {
  protected:
    int process(const Values& values) { return process_rkplugin("RKPLUGIN", values, responses_); }

    Responses responses_;
};

TEST_F(ProcessRkplugin, SetsTheLevelTenAndRestoresTheLog) {
    write_file(file, "#LOGLEVEL = 1\n#DEBUGLOG = /\n");
    EXPECT_EQ(process({"rkplugin"}), 0);
    EXPECT_EQ(read_file(file), "LOGLEVEL = 10\nDEBUGLOG = /\n");
    EXPECT_EQ(responses_, Responses{success});
    EXPECT_EQ(messages_under(tag), (Lines{{information, tag, success}}));
}

TEST_F(ProcessRkplugin, DoesNotChangeAnActiveLog) {
    write_file(file, "DEBUGLOG = /var/log\n#DEBUGLOG = /\nLOGLEVEL = 1\n");
    EXPECT_EQ(process({"rkplugin"}), 0);
    EXPECT_EQ(read_file(file), "DEBUGLOG = /var/log\n#DEBUGLOG = /\nLOGLEVEL = 10\n");
    EXPECT_EQ(responses_, Responses{success});
}

TEST_F(ProcessRkplugin, ReportsThatTheFileHasNoLog) {
    write_file(file, "");
    EXPECT_EQ(process({"rkplugin"}), 0);
    EXPECT_EQ(read_file(file), "LOGLEVEL = 10\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=RKPLUGIN:rkplugin STATUS=0 MSG=" + notice}));
    EXPECT_EQ(messages_under(tag), (Lines{{information, tag, responses_.at(0)}}));
}

TEST_F(ProcessRkplugin, RejectsAValueWithALevelButAppliesIt) {
    write_file(file, "DEBUGLOG = /\n");
    EXPECT_EQ(process({"rkplugin=3"}), 0);
    EXPECT_EQ(read_file(file), "DEBUGLOG = /\nLOGLEVEL = 3\n");
    EXPECT_EQ(responses_, (Responses{rejection, success}));
    EXPECT_EQ(messages_under(tag), (Lines{{error, tag, rejection}, {information, tag, success}}));
}

TEST_F(ProcessRkplugin, AppliesTheFirstOfSeveralValues) {
    write_file(file, "DEBUGLOG = /\n");
    EXPECT_EQ(process({"rkplugin", "rkplugin=7"}), 0);
    EXPECT_EQ(read_file(file), "DEBUGLOG = /\nLOGLEVEL = 10\n");
    EXPECT_EQ(responses_, (Responses{rejection, success}));
}

TEST_F(ProcessRkplugin, AppliesAnyOtherNameUnderThatName) {
    write_file(file, "DEBUGLOG = /\n");
    EXPECT_EQ(process({"Other=4=5"}), 0);
    EXPECT_EQ(read_file(file), "DEBUGLOG = /\nLOGLEVEL = 4=5\n");
    EXPECT_EQ(responses_,
              (Responses{rejection, "PROCESS=RKPLUGIN:Other STATUS=0 MSG=Set up rkplugin debug logging\n"}));
}

TEST_F(ProcessRkplugin, NamesItselfInTheRejectionOfAnyCategory) {
    write_file(file, "DEBUGLOG = /\n");
    process_rkplugin("OTHER", {"x"}, responses_);
    EXPECT_EQ(responses_, (Responses{rejection, "PROCESS=OTHER:x STATUS=0 MSG=Set up rkplugin debug logging\n"}));
}

TEST_F(ProcessRkplugin, StopsAfterTheRejectionOfAnEmptyList) {
    write_file(file, "#DEBUGLOG = /\n");
    EXPECT_EQ(process({}), 0);
    EXPECT_EQ(read_file(file), "#DEBUGLOG = /\n");
    EXPECT_EQ(responses_, Responses{rejection});
}

TEST_F(ProcessRkplugin, AppliesAnEmptyValue) {
    write_file(file, "DEBUGLOG = /\n");
    EXPECT_EQ(process({""}), 0);
    EXPECT_EQ(responses_, (Responses{rejection, "PROCESS=RKPLUGIN: STATUS=0 MSG=Set up rkplugin debug logging\n"}));
}

TEST_F(ProcessRkplugin, ReportsThatTheFileIsMissing) {
    EXPECT_EQ(process({"rkplugin"}), 0);
    EXPECT_EQ(responses_, (Responses{"PROCESS=RKPLUGIN:rkplugin STATUS=5803 MSG=Could not open file " + file +
                                     " E=2 (No such file or directory)\n"}));
    EXPECT_EQ(messages_under(tag), (Lines{{error, tag, responses_.at(0)}}));
    EXPECT_EQ(messages_under("set_parameter_value").size(), 1U);
}

TEST_F(ProcessRkplugin, ReportsThatTheLogCouldNotBeRestored) {
    write_file(file, "#DEBUGLOG = /\n");
    failures["rename"] = {0, EBUSY};
    EXPECT_EQ(process({"rkplugin"}), 0);
    EXPECT_EQ(read_file(file), "#DEBUGLOG = /\nLOGLEVEL = 10\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=RKPLUGIN:rkplugin STATUS=5803 MSG=Failed to rename " + file + ".new to " +
                                     file + " E=16 (Device or resource busy)\n"}));
    EXPECT_EQ(messages_under(tag), (Lines{{error, tag, responses_.at(0)}}));
}

TEST_F(ProcessRkplugin, CutsTheLineTo2047Characters) {
    write_file(file, "DEBUGLOG = /\n");
    const std::string name(2040, 'n');
    process({name});
    EXPECT_EQ(responses_.at(1), ("PROCESS=RKPLUGIN:" + name).substr(0, 2047));
}

}  // namespace
