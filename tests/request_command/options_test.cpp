#include "request_command/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "request_command/known_words.h"

namespace {

using Texts = std::vector<std::string>;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;

Options parse(Texts arguments) {
    arguments.insert(arguments.begin(), "zmlogadm");
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    return check_options(read_options(static_cast<int>(arguments.size()), pointers.data()));
}

template <typename Kind>
Kind peer_of(const Texts& arguments) {
    return std::get<Kind>(parse(arguments).peer);
}

std::string rejection_of(const Texts& arguments) {
    try {
        parse(arguments);
    } catch (const Refusal& refusal) {
        return refusal.what();
    }
    return "accepted";
}

const std::vector<std::string> words_without_tools = {"ENABLELOGGING", "DISABLELOGGING", "RESETLOGGING", "GETDISKSPACE",
                                                      "CLEANUP"};

const std::vector<std::string> own_options = {"-H",
                                              "-Hbackup7",
                                              "-p",
                                              "-p1",
                                              "-S",
                                              "-S/a",
                                              "-l",
                                              "-t",
                                              "-t5",
                                              "-h",
                                              "-V",
                                              "-lh",
                                              "-lHbackup7",
                                              "--host",
                                              "--host=X",
                                              "--ho",
                                              "--h",
                                              "--port",
                                              "--port=1",
                                              "--socket",
                                              "--socket=/a",
                                              "--local",
                                              "--local=x",
                                              "--agent",
                                              "--agent=/a",
                                              "--timeout",
                                              "--timeout=5",
                                              "--json",
                                              "--js",
                                              "--strict",
                                              "--no-progress",
                                              "--no",
                                              "--help",
                                              "--version"};

TEST(Options, AreRejectedAfterAWordThatRunsNoTool) {
    for (const std::string& word : words_without_tools) {
        for (const std::string& option : own_options) {
            EXPECT_THAT(rejection_of({word, "a:b", option, "c"}),
                        HasSubstr("put the option " + option + " in front of " + word))
                << option;
        }
    }
}

TEST(Options, AreRejectedAfterTheWordAlsoAfterTwoDashes) {
    EXPECT_THAT(rejection_of({"--", "CLEANUP", "-H"}), HasSubstr("-H"));
    EXPECT_THAT(rejection_of({"CLEANUP", "--", "-H"}), HasSubstr("-H"));
}

TEST(Options, ThatAreMisplacedGetAHintAboutDirectories) {
    EXPECT_THAT(rejection_of({"CLEANUP", "-H"}), HasSubstr("write a directory of that name as ./-H"));
    EXPECT_THAT(rejection_of({"GETDISKSPACE", "--json"}), HasSubstr("write a directory of that name as ./--json"));
    EXPECT_THAT(rejection_of({"ENABLELOGGING", "-H"}), testing::Not(HasSubstr("./")));
}

TEST(Options, ThatAreMisplacedShowNoControlCharacters) {
    EXPECT_THAT(rejection_of({"CLEANUP", "-H\x1b[2J"}), HasSubstr("put the option -H\\x1b[2J in front"));
}

TEST(Options, ThatAreMisplacedHaveTheirOwnCode) {
    try {
        parse({"CLEANUP", "-H"});
        ADD_FAILURE() << "accepted";
    } catch (const Refusal& refusal) {
        EXPECT_EQ(refusal.code(), FailureCode::misplaced_option);
    }
}

TEST(Options, LeaveOtherTextsToTheRequest) {
    for (const std::string& word : words_without_tools) {
        for (const char* argument : {"-x", "-", "--", "-lx", "-+", "-:", "--=x", "--hosts", "--unknown", "---host",
                                     "./-H", "H", "-Vx=", "a-H", ""}) {
            EXPECT_THAT(parse({word, argument}).request, ElementsAre(word, argument));
        }
    }
}

TEST(Options, AfterAWordThatRunsAToolBelongToTheTool) {
    for (const char* word : {"RUNZMSU", "RUNZMCPLOGS", "CALCLOGSIZE", "FETCHFILE", "ZMLA", "zmsu", "zmcplogs",
                             "ktlogcfg", "versioninfo", "another", "cleanup"}) {
        for (const std::string& option : own_options) {
            EXPECT_THAT(parse({word, option}).request, ElementsAre(word, option));
        }
    }
}

TEST(Options, SelectTheStrictVerdictAndHideTheProgress) {
    EXPECT_EQ(parse({"CLEANUP"}).verdict, Verdict::of_request);
    EXPECT_EQ(parse({"--strict", "CLEANUP"}).verdict, Verdict::strict);
    EXPECT_EQ(parse({"CLEANUP"}).waiting, Waiting::shown);
    EXPECT_EQ(parse({"--no-progress", "CLEANUP"}).waiting, Waiting::silent);
}

TEST(Options, StartTheInstalledAgentByDefault) {
    EXPECT_EQ(peer_of<AgentFile>({"CLEANUP"}).path, "/usr/kumel/zembrath/bin/zmlogadmagent");
    EXPECT_EQ(peer_of<AgentFile>({"-l", "CLEANUP"}).path, "/usr/kumel/zembrath/bin/zmlogadmagent");
    EXPECT_EQ(peer_of<AgentFile>({"--local", "CLEANUP"}).path, "/usr/kumel/zembrath/bin/zmlogadmagent");
}

TEST(Options, NameTheAgentToStart) {
    EXPECT_EQ(peer_of<AgentFile>({"--agent", "/a/b", "CLEANUP"}).path, "/a/b");
    EXPECT_EQ(peer_of<AgentFile>({"--local", "--agent=/a/b", "CLEANUP"}).path, "/a/b");
}

TEST(Options, NameAHostOnTheDefaultPort) {
    for (const Texts& options : {Texts{"-H", "there"}, Texts{"-Hthere"}, Texts{"--host", "there"}}) {
        Texts arguments = options;
        arguments.emplace_back("CLEANUP");
        const auto host = peer_of<RemoteHost>(arguments);
        EXPECT_EQ(host.name, "there");
        EXPECT_EQ(host.port, 24761);
    }
}

TEST(Options, NameAPort) {
    EXPECT_EQ(peer_of<RemoteHost>({"-H", "there", "-p", "1", "CLEANUP"}).port, 1);
    EXPECT_EQ(peer_of<RemoteHost>({"--port", "65535", "-H", "there", "CLEANUP"}).port, 65535);
}

TEST(Options, NameASocket) {
    EXPECT_EQ(peer_of<LocalSocket>({"-S", "/a/b", "CLEANUP"}).path, "/a/b");
    EXPECT_EQ(peer_of<LocalSocket>({"--socket", "/a/b", "CLEANUP"}).path, "/a/b");
}

TEST(Options, AllowThirtySecondsToConnectByDefault) {
    EXPECT_EQ(parse({"CLEANUP"}).timeout, std::chrono::seconds(30));
}

TEST(Options, AllowTheGivenTimeToConnect) {
    EXPECT_EQ(parse({"-t", "1", "CLEANUP"}).timeout, std::chrono::seconds(1));
    EXPECT_EQ(parse({"--timeout", "86400", "CLEANUP"}).timeout, std::chrono::hours(24));
}

TEST(Options, EndAtTheWord) {
    const Options options = parse({"-t", "7", "zmsu", "-t", "x", "--help", "-S"});
    EXPECT_THAT(options.request, ElementsAre("zmsu", "-t", "x", "--help", "-S"));
    EXPECT_EQ(options.timeout, std::chrono::seconds(7));
    EXPECT_EQ(options.action, Action::send_request);
}

TEST(Options, EndAtTwoDashes) {
    EXPECT_THAT(parse({"--", "-l", "x"}).request, ElementsAre("-l", "x"));
}

TEST(Options, LeaveTwoDashesAfterTheWordToTheRequest) {
    EXPECT_THAT(parse({"zmsu", "--", "-l"}).request, ElementsAre("zmsu", "--", "-l"));
}

TEST(Options, AcceptTextsOfEveryLengthThatAgentsAccept) {
    const std::string longest(2047, 'x');
    EXPECT_THAT(parse({longest, "", longest}).request, ElementsAre(longest, "", longest));
}

TEST(Options, AskForHelpOrTheVersionWithoutAWord) {
    EXPECT_EQ(parse({"-h"}).action, Action::show_help);
    EXPECT_EQ(parse({"--help"}).action, Action::show_help);
    EXPECT_EQ(parse({"-V"}).action, Action::show_version);
    EXPECT_EQ(parse({"--version"}).action, Action::show_version);
}

TEST(Options, AreRejectedWithoutAWord) {
    EXPECT_THAT(rejection_of({}), HasSubstr("a request word is missing"));
    EXPECT_THAT(rejection_of({"-l"}), HasSubstr("a request word is missing"));
    EXPECT_THAT(rejection_of({"--"}), HasSubstr("a request word is missing"));
}

TEST(Options, AreRejectedWhenUnknown) {
    EXPECT_THAT(rejection_of({"-x", "CLEANUP"}), HasSubstr("there is no option -x"));
    EXPECT_THAT(rejection_of({"-lx", "CLEANUP"}), HasSubstr("there is no option -x"));
    EXPECT_THAT(rejection_of({"--unknown=5", "CLEANUP"}), HasSubstr("there is no option --unknown "));
    EXPECT_THAT(rejection_of({"-\x1b", "CLEANUP"}), HasSubstr("there is no option -\\x1b"));
}

TEST(Options, AreRejectedWhenAbbreviatedTooFar) {
    EXPECT_THAT(rejection_of({"--h", "CLEANUP"}), HasSubstr("several options begin with --h "));
}

TEST(Options, AreRejectedWithoutTheirArgument) {
    EXPECT_THAT(rejection_of({"-lH"}), HasSubstr("the option --host needs an argument"));
    EXPECT_THAT(rejection_of({"--agent"}), HasSubstr("the option --agent needs an argument"));
}

TEST(Options, AreRejectedWithAnArgumentThatTheyDoNotTake) {
    EXPECT_THAT(rejection_of({"--local=yes", "CLEANUP"}), HasSubstr("the option --local takes no argument"));
}

TEST(Options, AskForJsonAlsoAfterAnInvalidOption) {
    std::string command = "zmlogadm";
    std::string unknown = "--unknown";
    std::string json = "--json";
    std::vector<char*> arguments = {command.data(), unknown.data(), json.data(), nullptr};
    EXPECT_EQ(answer_format(read_options(3, arguments.data())), AnswerFormat::json);
}

TEST(Options, AreRejectedWhenTheyContradictEachOther) {
    EXPECT_THAT(rejection_of({"-S", "a", "-H", "b", "CLEANUP"}), HasSubstr("--socket cannot be used together"));
    EXPECT_THAT(rejection_of({"-l", "-S", "a", "CLEANUP"}), HasSubstr("--socket cannot be used together"));
    EXPECT_THAT(rejection_of({"-H", "b", "-l", "CLEANUP"}), HasSubstr("--host cannot be used together"));
    EXPECT_THAT(rejection_of({"--agent", "a", "-H", "b", "CLEANUP"}), HasSubstr("--agent cannot be used together"));
    EXPECT_THAT(rejection_of({"--agent", "a", "-S", "b", "CLEANUP"}), HasSubstr("--agent cannot be used together"));
    EXPECT_THAT(rejection_of({"-p", "5", "CLEANUP"}), HasSubstr("--port needs --host"));
    EXPECT_THAT(rejection_of({"-p", "5", "-S", "a", "CLEANUP"}), HasSubstr("--port needs --host"));
}

TEST(Options, AreRejectedWithNumbersOutOfRange) {
    for (const char* port : {"0", "65536", "-1", "99999999999999999999", "", "x", "5x", " 5", "+5", "0x10", "5.0"}) {
        EXPECT_THAT(rejection_of({"-H", "there", "-p", port, "CLEANUP"}),
                    HasSubstr("the port must be a number from 1 to 65535"))
            << port;
    }
    for (const char* seconds : {"0", "86401", "-1", "99999999999999999999", "", "x", "5s", "1.5"}) {
        EXPECT_THAT(rejection_of({"-t", seconds, "CLEANUP"}),
                    HasSubstr("the time-out must be a number from 1 to 86400"))
            << seconds;
    }
}

TEST(Options, AreRejectedWithTextsThatNameNoPeer) {
    EXPECT_THAT(rejection_of({"-H", "", "CLEANUP"}), HasSubstr("the host must not be empty"));
    EXPECT_THAT(rejection_of({"--agent", "", "CLEANUP"}), HasSubstr("the path of the agent must not be empty"));
    EXPECT_THAT(rejection_of({"-S", "", "CLEANUP"}), HasSubstr("the path of a socket must have 1 to 107 bytes, not 0"));
    EXPECT_THAT(rejection_of({"-S", std::string(108, 'x'), "CLEANUP"}), HasSubstr("1 to 107 bytes, not 108"));
    EXPECT_EQ(peer_of<LocalSocket>({"-S", std::string(107, 'x'), "CLEANUP"}).path.size(), 107U);
}

TEST(Options, AreRejectedWithTextsThatNoAgentAccepts) {
    const std::string too_long(2048, 'x');
    EXPECT_THAT(rejection_of({too_long}), HasSubstr("the word has 2048 bytes"));
    EXPECT_THAT(rejection_of({"CLEANUP", "a", too_long}), HasSubstr("argument 2 has 2048 bytes"));
}

TEST(HelpText, FitsAScreen) {
    const std::string text = help_text();
    std::string_view rest = text;
    EXPECT_LT(std::count(rest.begin(), rest.end(), '\n'), 24);  // one line is left for the prompt
    for (std::size_t end = 0; (end = rest.find('\n')) != std::string_view::npos; rest.remove_prefix(end + 1)) {
        EXPECT_LE(end, 80U) << rest.substr(0, end);
    }
}

void expect_in_help(std::string_view name) {
    EXPECT_THAT(help_text(), ContainsRegex("[ \n]" + std::string(name) + "[ \n]"));
}

TEST(HelpText, ListsEveryOption) {
    for (const char* name : {"-H, --host", "-p, --port", "-S, --socket", "-l, --local", "--agent", "-t, --timeout",
                             "--json", "--strict", "--no-progress", "-h, --help", "-V, --version"}) {
        expect_in_help(name);
    }
}

TEST(HelpText, ListsEveryWordAndCategory) {
    for (const KnownWord& word : known_words) {
        expect_in_help(word.name);
    }
    for (const KnownCategory& category : known_categories) {
        expect_in_help(category.name);
    }
}

}  // namespace
