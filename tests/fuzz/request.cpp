// Logging requests, from the reception to the answer, over the recording platform library and scratch files.
//
// Input: five bytes (the word; faults; what the shell, directories and the configuration say), then the arguments, each
// followed by a zero byte. What follows an empty argument is the text of all files of the components.
#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "agent/request_framing.h"
#include "commands/external_commands.h"
#include "commands/request_dispatcher.h"
#include "platform/posix.h"
#include "platform/status_codes.h"
#include "tests/fuzz/fuzz_input.h"
#include "tests/fuzz/invariant.h"
#include "tests/fuzz/scratch_file.h"
#include "tests/support/recording_platform.h"
#include "tests/support/test_files.h"

namespace {

using recording_platform::script;

constexpr std::array<const char*, 3> logging_words = {"ENABLELOGGING", "DISABLELOGGING", "RESETLOGGING"};

constexpr const char* answer_file = "/tmp/answer";

struct ComponentFile {
    const char* category;
    const char* path;
};

constexpr std::array component_files = {
    ComponentFile{"RK:", "/usr/kumel/lib/stg-plugins/qtpipe.conf"},
    ComponentFile{"RK:", "/usr/kumel/rk/kpa.cfg"},
    ComponentFile{"RKPLUGIN:", "/usr/kumel/lib/stg-plugins/rk.conf"},
    ComponentFile{"CORVID:", "/usr/kumel/lib/stg-plugins/wqf.conf"},
    ComponentFile{"CORVID:", "/usr/kumel/lib/stg-plugins/hlt.conf"},
    ComponentFile{"CLOUD:", "/usr/kumel/lib/stg-plugins/skyhold.conf"},
    ComponentFile{"JAVAGUI:", "/usr/kumel/java/Debug.properties"},
    ComponentFile{"HOLKAZ:", "/usr/kumel/zembrath/sec/az/bin/HOLKaz.conf"},
    ComponentFile{"VMCONF:", "/usr/kumel/volmgr/vm.conf"},
};

// The current request. While there is one, the wrappers below answer the system calls.
struct Running {
    const RequestVector* request = nullptr;
    int shell_result = 0;
    int directory_error = 0;
};
Running running;

// Reads one word like a shell that only knows single quotes and backslashes. Nothing else that a shell interprets may
// be in it.
std::string shell_word(std::string_view text) {
    constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.+=-";
    std::string word;
    bool is_quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\'') {
            is_quoted = !is_quoted;
        } else if (!is_quoted && text[i] == '\\') {
            ++i;
            INVARIANT(i < text.size() && text[i] == '\'');
            word += text[i];
        } else {
            INVARIANT(is_quoted || plain.find(text[i]) != std::string_view::npos);
            word += text[i];
        }
    }
    INVARIANT(!is_quoted);
    return word;
}

// The shell gets one fixed command with one word of the peer in it, exactly as received.
void check_command(std::string_view command) {
    constexpr std::string_view fixed = "/opt/HOLKkob/bin/ktlogcfg -a -p 50936 -o 103 -s DebugLevel=";
    INVARIANT(command.starts_with(fixed));
    const std::string level = shell_word(command.substr(fixed.size()));
    const RequestVector& request = *running.request;
    INVARIANT(std::any_of(request.begin(), request.end(), [&](const std::string& argument) {
        return argument == "KOB:kob" + (level.empty() ? "" : "=" + level) || argument == "KOB:kob=" + level;
    }));
}

}  // namespace

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names.
int __real_system(const char* command);
int __wrap_system(const char* command);
int __wrap_system(const char* command) {
    if (running.request == nullptr) {
        return __real_system(command);
    }
    check_command(command);
    return running.shell_result;
}

// No directory is created: the names come from the input and could be anywhere.
int __real_mkdir(const char* path, mode_t mode);
int __wrap_mkdir(const char* path, mode_t mode);
int __wrap_mkdir(const char* path, mode_t mode) {
    if (running.request == nullptr) {
        return __real_mkdir(path, mode);
    }
    INVARIANT(std::string_view(path).starts_with("/usr/kumel/volmgr/debug"));
    errno = running.directory_error;
    return running.directory_error == 0 ? 0 : -1;
}

// A logging request starts no process.
pid_t __real_fork();
pid_t __wrap_fork();
pid_t __wrap_fork() {
    INVARIANT(running.request == nullptr);
    return __real_fork();
}

int __wrap_execvp(const char* file, char* const* arguments);
int __wrap_execvp(const char* /*file*/, char* const* /*arguments*/) {
    fuzzing::fail("no program is started", __FILE__, __LINE__);
}
// NOLINTEND(bugprone-reserved-identifier)
}

namespace {

struct Request {
    unsigned word = 0;
    unsigned faults = 0;
    Running environment;
    int verbosity = 0;
    RequestVector arguments;
    std::string files;
};

Request request_in(FuzzInput input) {
    Request request;
    request.word = input.choice() % (logging_words.size() + 1);
    request.faults = input.choice();
    request.environment.shell_result = static_cast<int>(input.choice()) << 8U;
    constexpr std::array directory_errors = {0, EEXIST, EACCES, ENAMETOOLONG};
    request.environment.directory_error = directory_errors[input.choice() % directory_errors.size()];
    request.verbosity = static_cast<int>(input.choice()) - 1;
    if (request.word < logging_words.size()) {
        request.arguments.emplace_back(logging_words[request.word]);
    }
    for (std::string argument = input.text(); !argument.empty(); argument = input.text()) {
        request.arguments.push_back(argument);
    }
    request.files = input.rest();
    return request;
}

void write_script(const Request& request) {
    recording_platform::reset();
    const auto fault = [&](unsigned bit, int status) { return (request.faults & bit) != 0 ? status : 0; };
    script.log_directory_error = script.log_directory_error_number = fault(1, EEXIST);
    script.log_directory_result = fault(2, -1);
    script.settings_refused = fault(4, 17);
    script.update_refused = fault(8, 18);
    script.debug_level_not_set = fault(16, EINVAL);
    script.levels_not_written = fault(32, EIO);
    if (fault(64, 1) != 0) {
        script.unloadable_originators.insert({51216, 112});
    } else {
        script.levels[{51216, 112}] = {.debug = 1, .diagnostic = 6};
    }
    script.global_verbosity = request.verbosity;
    script.framed_reads.push_back(recording_platform::framed_number(static_cast<long>(request.arguments.size())));
    for (const std::string& argument : request.arguments) {
        script.framed_reads.push_back(recording_platform::framed_text(argument));
    }
    if (fault(128, 1) != 0) {
        script.framed_reads.back() = recording_platform::framed_failure(-1, ECONNRESET);
    }
}

bool names_category(const RequestVector& request, std::string_view category) {
    return std::any_of(request.begin() + 1, request.end(),
                       [&](const std::string& argument) { return argument.starts_with(category); });
}

// Only the components that the request names have files.
void write_files(const RequestVector& request, const std::string& text) {
    for (const ComponentFile& file : component_files) {
        if (names_category(request, file.category)) {
            fuzzing::store(file.path, text);
        }
    }
}

// No file is created or lost, and none ends in half a line.
void check_files(const RequestVector& request, const std::string& text) {
    for (const ComponentFile& file : component_files) {
        const std::string path = file.path;
        if (names_category(request, file.category)) {
            const std::string after = fuzzing::load(path);
            INVARIANT(after == text || fuzzing::ends_in_newline(after));
            unlink(path.c_str());
        }
        INVARIANT(!fuzzing::is_there(path));
        INVARIANT(!fuzzing::is_there(path + ".new"));
    }
}

bool is_well_formed(const std::string& argument) {
    const std::size_t colon = argument.find(':');
    return colon != std::string::npos && colon + 1 != argument.size();
}

void check_answer(const RequestVector& request, int result, const std::string& answer) {
    if (!std::all_of(request.begin() + 1, request.end(), is_well_formed)) {
        INVARIANT(result == status::logging_argument_not_valid);
        INVARIANT(answer.empty());
        return;
    }
    INVARIANT(answer.empty() || answer.starts_with("PROCESS="));
    // A line for each value, and one for a category.
    std::size_t lines = 0;
    for (const std::string& argument : request) {
        lines += 2 + static_cast<std::size_t>(std::count(argument.begin(), argument.end(), ','));
    }
    constexpr std::size_t longest_line = 2047;
    INVARIANT(answer.size() <= lines * longest_line);
    INVARIANT(answer.find('\0') == std::string::npos);
}

// Replaces the socket. It stores everything that the agent sends, so that nobody has to read meanwhile.
Descriptor open_answer() {
    Descriptor answer(open(answer_file, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    INVARIANT(answer.valid());
    return answer;
}

void carry_out(const RequestVector& request, const Request& planned) {
    const Descriptor answer = open_answer();
    write_files(request, planned.files);
    running = planned.environment;
    running.request = &request;
    const int result = perform_request_send_output(request, answer.get());
    running = {};
    check_answer(request, result, fuzzing::load(answer_file));
    check_files(request, planned.files);
}

bool is_logging_word(const std::string& word) {
    return std::any_of(logging_words.begin(), logging_words.end(), [&](const char* known) { return word == known; });
}

void make_folders_once() {
    static const bool done = [] {
        for (const ComponentFile& file : component_files) {
            const std::string path = file.path;
            make_folder(path.substr(0, path.rfind('/')));
        }
        write_file("/etc/rkregistry.cfg", "# registry\nkpa.cfg=/usr/kumel/rk/kpa.cfg\n");
        return true;
    }();
    INVARIANT(done);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    make_folders_once();
    const Request planned = request_in(FuzzInput(data, size));
    write_script(planned);
    RequestVector received;
    const int result = receive_inputs_from_client(-1, received);
    const bool fails = planned.arguments.empty() || (planned.faults & 128U) != 0;
    INVARIANT(result == (fails ? status::request_not_received : status::success));
    INVARIANT(!fails ? received.size() == planned.arguments.size() : received.size() <= planned.arguments.size());
    if (!fails) {
        bool is_external = false;
        const bool is_valid = is_cmd_valid(received[0], is_external) == status::success;
        INVARIANT(is_valid || !is_external);
        if (is_logging_word(received[0])) {
            INVARIANT(is_valid && !is_external);
            carry_out(received, planned);
        }
    }
    INVARIANT(recording_platform::misuses().empty());
    return 0;
}
