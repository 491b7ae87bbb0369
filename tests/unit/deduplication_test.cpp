#include "logging_config/deduplication.h"

#include <array>
#include <cerrno>

#include "tests/unit/agent_test.h"

namespace {

using recording_platform::calls_of;
using recording_platform::messages;
using recording_platform::messages_under;

using log_level::detail;
using log_level::information;
const std::string registry = "/etc/rkregistry.cfg";
const std::string fixed_file = "/usr/kumel/lib/stg-plugins/qtpipe.conf";
const std::string named_file = "/usr/kumel/named/kpa.cfg";

class GetRkConfFilepath : public ProductPathTest {
  protected:
    int find(const std::string& component) {
        return get_rk_conf_filepath(component, path_, buffer_.data(), buffer_.size());
    }

    std::string path_;
    std::array<char, 1024> buffer_{};
};

TEST_F(GetRkConfFilepath, IsFixedForQtpiped) {
    EXPECT_EQ(find("qtpiped"), 0);
    EXPECT_EQ(path_, fixed_file);
    EXPECT_EQ(messages(), Lines{});
    EXPECT_EQ(calls_of("open"), Texts{});
}

TEST_F(GetRkConfFilepath, IsTheRegistrysForEveryOtherComponent) {
    write_file(registry, "x=" + named_file + "\n");
    for (const std::string component : {"kpad", "kpafsd", "QTPIPED", "qtpiped ", ""}) {
        recording_platform::reset();
        path_.clear();
        EXPECT_EQ(find(component), 0);
        EXPECT_EQ(path_, named_file);
        EXPECT_EQ(
            messages(),
            (Lines{{detail, "get_rk_conf_filepath", "Morvisk configuration file path=" + named_file + " RV=0 ERR="}}));
    }
}

TEST_F(GetRkConfFilepath, ReturnsTheStatusOfTheRegistry) {
    EXPECT_EQ(find("kpad"), 5803);
    EXPECT_EQ(messages().at(1), (LogLine{detail, "get_rk_conf_filepath",
                                         "Morvisk configuration file path= RV=5803 ERR=Failed to open file (" +
                                             registry + ") E=2 (No such file or directory)"}));
    write_file(registry, "");
    EXPECT_EQ(find("kpad"), 5806);
    EXPECT_EQ(messages().back(),
              (LogLine{detail, "get_rk_conf_filepath",
                       "Morvisk configuration file path= RV=5806 ERR=Failed to find kpa.cfg entry in " + registry}));
}

class ProcessRk : public ProductPathTest {
  protected:
    int process(const Values& values) { return process_rk("RK", values, responses_); }

    static constexpr const char* tag = "process_rk";
    Responses responses_;
};

TEST_F(ProcessRk, SetsTheLoggingOfQtpiped) {
    write_file(fixed_file, "#Logging=none\n");
    EXPECT_EQ(process({"qtpiped=full"}), 0);
    EXPECT_EQ(read_file(fixed_file), "Logging=full,thread\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=RK:qtpiped STATUS=0 MSG=Set debug logging 'full'\n"}));
    EXPECT_EQ(messages(), (Lines{{information, tag, responses_.at(0)}}));
}

TEST_F(ProcessRk, SetsFullForANameWithoutALevel) {
    write_file(fixed_file, "");
    EXPECT_EQ(process({"qtpiped"}), 0);
    EXPECT_EQ(read_file(fixed_file), "Logging=full,thread\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=RK:qtpiped STATUS=0 MSG=Set debug logging 'full'\n"}));
}

TEST_F(ProcessRk, AcceptsAnEmptyValueAndFurtherEqualsSigns) {
    write_file(fixed_file, "");
    process({"qtpiped="});
    EXPECT_EQ(read_file(fixed_file), "Logging=,thread\n");
    process({"qtpiped=a=b"});
    EXPECT_EQ(read_file(fixed_file), "Logging=a=b,thread\n");
}

TEST_F(ProcessRk, WritesAValueOfAnyLength) {
    write_file(fixed_file, "");
    const std::string value(2030, 'v');
    EXPECT_EQ(process({"qtpiped=" + value}), 0);
    EXPECT_EQ(read_file(fixed_file), "Logging=" + value + ",thread\n");
    EXPECT_EQ(responses_, (Responses{("PROCESS=RK:qtpiped STATUS=0 MSG=Set debug logging '" + value).substr(0, 2047)}));
}

TEST_F(ProcessRk, EditsASharedFileOnceAndRepeatsTheOutcome) {
    write_file(registry, "x=" + named_file + "\n");
    write_file(named_file, "");
    EXPECT_EQ(process({"kpad=full", "kpafsd=none", "x"}), 0);
    EXPECT_EQ(read_file(named_file), "Logging=full,thread\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=RK:kpad STATUS=0 MSG=Set debug logging 'full'\n",
                                     "PROCESS=RK:kpafsd STATUS=0 MSG=Set debug logging 'none'\n",
                                     "PROCESS=RK:x STATUS=0 MSG=Set debug logging 'full'\n"}));
    EXPECT_EQ(calls_of("rename").size(), 1U);
    EXPECT_EQ(messages_under(tag), (Lines{{information, tag, responses_.at(0)},
                                          {detail, tag, "Using cached: EC=0 M="},
                                          {information, tag, responses_.at(1)},
                                          {detail, tag, "Using cached: EC=0 M="},
                                          {information, tag, responses_.at(2)}}));
}

TEST_F(ProcessRk, EndsAPathAtAZeroByte) {
    write_file(registry, "x=" + named_file + '\0' + "further\n");
    write_file(named_file, "A=1\n");
    EXPECT_EQ(process({"kpad", "kpafsd=none"}), 0);
    EXPECT_EQ(read_file(named_file), "A=1\nLogging=full,thread\n");
    EXPECT_EQ(calls_of("rename"), (Texts{"rename " + named_file + ".new " + named_file}));
    EXPECT_EQ(messages_under(tag).at(1), (LogLine{detail, tag, "Using cached: EC=0 M="}));
}

// The registry is read for each component, so it can name the same file in two ways.
TEST_F(ProcessRk, RecognizesAFileWhateverFollowsAZeroByte) {
    write_file(registry, "x=" + named_file + "\n");
    write_file(named_file, "");
    overrides.before_call = [](const std::string& call) {
        if (call.starts_with("rename ")) {
            write_file(registry, "x=" + named_file + '\0' + "further\n");
        }
    };
    EXPECT_EQ(process({"kpad=full", "kpafsd=none"}), 0);
    EXPECT_EQ(read_file(named_file), "Logging=full,thread\n");
    EXPECT_EQ(calls_of("rename").size(), 1U);
}

TEST_F(ProcessRk, EditsEachFileOfARequest) {
    write_file(registry, "x=" + named_file + "\n");
    write_file(named_file, "");
    write_file(fixed_file, "");
    EXPECT_EQ(process({"kpad=a", "qtpiped=b", "kpafsd=c", "qtpiped=d"}), 0);
    EXPECT_EQ(read_file(named_file), "Logging=a,thread\n");
    EXPECT_EQ(read_file(fixed_file), "Logging=b,thread\n");
}

TEST_F(ProcessRk, EditsAgainInTheNextRequest) {
    write_file(fixed_file, "");
    process({"qtpiped=a"});
    process({"qtpiped=b"});
    EXPECT_EQ(read_file(fixed_file), "Logging=b,thread\n");
}

TEST_F(ProcessRk, RepeatsAFailedOutcomeToo) {
    write_file(registry, "x=" + named_file + "\n");
    EXPECT_EQ(process({"kpad", "kpafsd=none"}), 0);
    const std::string reason = "Could not open file " + named_file + " E=2 (No such file or directory)";
    EXPECT_EQ(responses_, (Responses{"PROCESS=RK:kpad STATUS=5803 MSG=" + reason + " (Value=full)\n",
                                     "PROCESS=RK:kpafsd STATUS=5803 MSG=" + reason + " (Value=none)\n"}));
    EXPECT_EQ(messages_under(tag).at(1), (LogLine{detail, tag, "Using cached: EC=5803 M=" + reason}));
    EXPECT_EQ(messages_under("set_parameter_value").size(), 1U);
}

TEST_F(ProcessRk, ReadsTheRegistryAgainForEachComponent) {
    write_file(registry, "x=" + named_file + "\n");
    write_file(named_file, "");
    process({"kpad", "qtpiped", "kpafsd"});
    EXPECT_EQ(messages_under("get_rk_conf_filepath").size(), 2U);
    EXPECT_EQ(calls_of("open " + registry).size(), 3U);  // the first one is the test's own
}

TEST_F(ProcessRk, ReportsThatTheRegistryIsMissing) {
    write_file(fixed_file, "");
    EXPECT_EQ(process({"kpad=none", "qtpiped"}), 0);
    EXPECT_EQ(responses_, (Responses{"PROCESS=RK:kpad STATUS=5803 MSG=Failed to open file (" + registry +
                                         ") E=2 (No such file or directory) (Value=none)\n",
                                     "PROCESS=RK:qtpiped STATUS=0 MSG=Set debug logging 'full'\n"}));
    EXPECT_EQ(messages_under(tag).at(0), (LogLine{information, tag, responses_.at(0)}));
}

TEST_F(ProcessRk, ReportsThatTheRegistryNamesNoFile) {
    write_file(registry, "nothing\n");
    EXPECT_EQ(process({"kpad"}), 0);
    EXPECT_EQ(responses_, (Responses{"PROCESS=RK:kpad STATUS=5806 MSG=Failed to find kpa.cfg entry in " + registry +
                                     " (Value=full)\n"}));
}

TEST_F(ProcessRk, FailsToEditTheEmptyPathOfALineWithoutAnEqualsSign) {
    write_file(registry, "kpa.cfg\n");
    EXPECT_EQ(process({"kpad"}), 0);
    EXPECT_EQ(responses_, (Responses{"PROCESS=RK:kpad STATUS=5803 MSG=Could not open file  E=2 (No such file or "
                                     "directory) (Value=full)\n"}));
}

TEST_F(ProcessRk, DoesNothingWithoutAValue) {
    EXPECT_EQ(process({}), 0);
    EXPECT_EQ(responses_, Responses{});
    EXPECT_EQ(messages(), Lines{});
}

TEST_F(ProcessRk, CutsTheMessageTo1023Characters) {
    const std::string path = "/usr/kumel/" + std::string(1500, 'x');
    write_file(registry, "kpa.cfg=" + path + "\n");
    EXPECT_EQ(process({"kpad", "kpafsd"}), 0);
    const std::string message = ("Could not open file " + path).substr(0, 1023);
    EXPECT_EQ(responses_, (Responses{"PROCESS=RK:kpad STATUS=5803 MSG=" + message + " (Value=full)\n",
                                     "PROCESS=RK:kpafsd STATUS=5803 MSG=" + message + " (Value=full)\n"}));
    EXPECT_EQ(messages_under(tag).at(1), (LogLine{detail, tag, "Using cached: EC=5803 M=" + message}));
}

TEST_F(ProcessRk, CutsTheLineTo2047Characters) {
    write_file(registry, "x=" + named_file + "\n");
    write_file(named_file, "");
    const std::string name(2040, 'n');
    process({name});
    EXPECT_EQ(responses_, (Responses{("PROCESS=RK:" + name).substr(0, 2047)}));
}

TEST_F(ProcessRk, CutsTheLineOfAFailureTo2047Characters) {
    const std::string name(2000, 'n');
    process({name});
    EXPECT_EQ(responses_,
              (Responses{("PROCESS=RK:" + name + " STATUS=5803 MSG=Failed to open file (").substr(0, 2047)}));
}

}  // namespace
