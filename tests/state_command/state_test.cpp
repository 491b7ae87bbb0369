#include "tests/state_command/state_test.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <ostream>
#include <sstream>

#include "tests/support/agent_runner.h"
#include "tests/support/test_files.h"
#include "tests/support/tested_program.h"

namespace fs = std::filesystem;

namespace {

std::map<std::string, std::string> attributes_of(const std::string& path) {
    std::map<std::string, std::string> attributes;
    std::string names(4096, '\0');
    const ssize_t size = llistxattr(path.c_str(), names.data(), names.size());
    names.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    std::istringstream stream(names);
    for (std::string name; std::getline(stream, name, '\0');) {
        std::string value(4096, '\0');
        const ssize_t length = lgetxattr(path.c_str(), name.c_str(), value.data(), value.size());
        attributes[name] = length < 0 ? "unreadable" : value.substr(0, static_cast<std::size_t>(length));
    }
    return attributes;
}

NameState snapshot_of(const std::string& path) {
    const struct stat found = state_of(path);
    NameState state{"other", "", found.st_mode & ALLPERMS, found.st_uid, found.st_gid, attributes_of(path)};
    if (S_ISREG(found.st_mode)) {
        state.kind = "file";
        state.text = read_file(path);
    } else if (S_ISLNK(found.st_mode)) {
        state.kind = "link";
        state.text = fs::read_symlink(path);
    } else if (S_ISDIR(found.st_mode)) {
        state.kind = "folder";
    }
    return state;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const NameState& state) {
    out << state.kind << " \"" << state.text << "\" mode " << std::oct << state.mode << std::dec << " owner "
        << state.owner << ":" << state.group;
    for (const auto& [name, value] : state.attributes) {
        out << " " << name << "=" << value;
    }
    return out;
}

Snapshot take_whole_snapshot(const std::string& folder) {
    Snapshot snapshot;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        const std::string path = entry.path();
        if (path.find("/zmlogadmagent") == std::string::npos) {
            snapshot[path] = snapshot_of(path);
        }
    }
    return snapshot;
}

Snapshot take_snapshot(const std::string& folder) {
    Snapshot snapshot = take_whole_snapshot(folder);
    std::erase_if(snapshot, [](const auto& entry) { return entry.first.ends_with(".lock"); });
    return snapshot;
}

std::vector<std::string> raise_everything() {
    return {"ENABLELOGGING",
            "ZMKTUL:111=6,117",
            "QPKTUL:111",
            "SEARCHKTUL:7=4",
            "ZMLOGDIR:jobd,a/b",
            "MMLOGDIR:robots",
            "QRCONF:VERBOSE=3,JOBD_VERBOSE,new_verbose",
            "RK:spoold,qtpiped=some",
            "RKPLUGIN:rkplugin",
            "KOB:kob=5",
            "CORVID:zmwqf,other=9",
            "CLOUD:container",
            "JAVAGUI:console",
            "HOLKAZ:az",
            "VMCONF:vmd"};
}

void raise_all_logging() {
    const AgentRun run = run_agent(raise_everything());
    EXPECT_EQ(run.status(), 0);
    for (const std::string& line : lines_of(run.output())) {
        EXPECT_THAT(line, testing::HasSubstr(" STATUS=0 "));
    }
}

Arguments zmlogstate(const Arguments& arguments) {
    return Arguments{tested_program(ZMLA_COMMAND_FILE)} + arguments;
}

void make_installation() {
    make_product_tree();
    write_tool("/opt/HOLKkob/bin/ktlogcfg", "exit 0");
    write_file("/etc/rkregistry.cfg", "first=1\nkpa.cfg=" + registered_file + "\n");
    write_file(main_configuration, "SERVER = localhost\nJobd_Verbose = 2\nOTHER = 1");
    for (const char* product : {"51216", "58330", "60385"}) {
        write_file(std::string("/usr/kumel/ktul/") + product + ".conf", "112.DebugLevel=1\n111.DebugLevel=3\nother\n");
    }
    write_file(registered_file, "#Logging=none,thread\nother=1");
    write_file("/usr/kumel/lib/stg-plugins/qtpipe.conf", "Logging=full,thread\r\n");
    write_file(plugin_file, "#LOGLEVEL = 1\n#DEBUGLOG = /\n");
    write_file(storage_file, "WQF:LOGLEVEL=2\n");
    write_file("/usr/kumel/lib/stg-plugins/hlt.conf", "");
    write_file(container_file, "other\n");
    write_file(console_file, "printcmds=false\ndebugMask=0x1\n");
    write_file(authorization_file, "\"DebugLevel\"=\"1\"\n");
    write_file(volume_manager_file, "#VERBOSE\n");
    set_mode(main_configuration, 0640);
    set_mode(plugin_file, 0640);
    set_mode(volume_manager_file, 0604);
    EXPECT_EQ(setxattr(storage_file.c_str(), "user.note", "kept", 4, 0), 0);
    EXPECT_EQ(setxattr(main_configuration.c_str(), "user.empty", "", 0, 0), 0);
}

void StateTest::save() const {
    expect_status(run_command({"save", folder_}), 0);
}

void give_away(const std::string& path) {
    const bool can_be_given = namespace_has_several_users();
    ASSERT_EQ(chown(path.c_str(), can_be_given ? 1234 : 0, can_be_given ? 5678 : 0), 0);
}

void become_another_user() {
    ASSERT_EQ(setgid(1234), 0);
    ASSERT_EQ(setuid(1234), 0);
}

void expect_status(const CommandRun& run, int status) {
    EXPECT_EQ(run.exit_status, status) << run.output << run.errors;
    if (status == 0 || status == 1) {
        EXPECT_EQ(run.errors, "");
    }
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}
