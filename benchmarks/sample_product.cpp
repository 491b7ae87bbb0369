#include "benchmarks/sample_product.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <iterator>
#include <system_error>

#include "platform/posix.h"
#include "tests/support/private_root.h"

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// A configuration file of an ordinary size: comments, and other settings around the changed one.
std::string configuration_around(const std::string& setting) {
    std::string text = "# Settings of this component.\n";
    for (int i = 0; i < 18; ++i) {
        text +=
            i == 9 ? setting + "\n" : "Option" + std::to_string(i) + " = value of option " + std::to_string(i) + "\n";
    }
    return text;
}

std::string store_of(int originators) {
    std::string text;
    for (int oid = 100; oid < 100 + originators; ++oid) {
        text += std::to_string(oid) + ".DebugLevel=1\n" + std::to_string(oid) + ".DiagnosticLevel=6\n";
    }
    return text;
}

void write_tool(const std::string& path, const std::string& text) {
    write_sample_file(path, text);
    fs::permissions(path, fs::perms(0755));
}

void copy_tool(const std::string& file, const std::string& path) {
    fs::create_directories(fs::path(path).parent_path());
    fs::copy_file(inside_path(file), path, fs::copy_options::overwrite_existing);
}

long count_files(const std::string& folder) {
    return fs::exists(folder) ? std::distance(fs::directory_iterator(folder), fs::directory_iterator()) : 0;
}

}  // namespace

void make_sample_product(const StandInTools& tools) {
    for (const char* folder : {"/usr/kumel/zembrath/logs", "/usr/kumel/volmgr/debug"}) {
        fs::create_directories(folder);
    }
    write_sample_file("/etc/rkregistry.cfg", "kpa.log=/usr/kumel/kpa/kpa.log\nkpa.cfg=/usr/kumel/kpa/kpa.cfg\n");
    write_tool("/usr/kumel/zembrath/bin/goodies/support/versioninfo", "#!/bin/sh\nexec head -c 1073741824 /dev/zero\n");
    copy_tool(tools.listed, "/usr/kumel/zembrath/bin/support/old_zmsu");
    copy_tool(tools.idle, "/opt/HOLKkob/bin/ktlogcfg");
    reset_logging();
}

void empty_debug_log() {
    const fs::path folder = "/usr/kumel/zembrath/logs/zmlogadmagent";
    if (fs::exists(folder)) {
        for (const auto& log : fs::directory_iterator(folder)) {
            fs::resize_file(log.path(), 0);
        }
    }
}

void reset_logging() {
    write_sample_file("/usr/kumel/zembrath/qr.conf",
                      "SERVER = localhost\n" + configuration_around("TAPEMGR_VERBOSE = 0"));
    for (const char* product : {"51216", "58330", "60385"}) {
        write_sample_file("/usr/kumel/ktul/" + std::string(product) + ".conf", store_of(20));
    }
    const std::string plugins = "/usr/kumel/lib/stg-plugins/";
    write_sample_file("/usr/kumel/kpa/kpa.cfg", configuration_around("Logging=none,thread"));
    write_sample_file(plugins + "rk.conf", configuration_around("LOGLEVEL = 0\n#DEBUGLOG = /"));
    write_sample_file(plugins + "wqf.conf", configuration_around("WQF:LOGLEVEL=0"));
    write_sample_file(plugins + "skyhold.conf", configuration_around("SHCT_LOG_LEVEL=0"));
    write_sample_file("/usr/kumel/java/Debug.properties", configuration_around("#printcmds=true\n#debugMask=0x0"));
    write_sample_file("/usr/kumel/zembrath/sec/az/bin/HOLKaz.conf", configuration_around("\"DebugLevel\"=\"0\""));
    write_sample_file(volume_manager_file, configuration_around("#VERBOSE"));
    fs::remove("/usr/kumel/zembrath/logs/tapemgr");
    fs::remove("/usr/kumel/volmgr/debug/daemon1");
}

void write_sample_file(const std::string& path, const std::string& text) {
    fs::create_directories(fs::path(path).parent_path());
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!file.valid() || !write_all(file.get(), text)) {
        fail("write " + path);
    }
}

std::string read_sample_file(const std::string& path) {
    std::string text;
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.valid() || !read_all(file.get(), text)) {
        fail("read " + path);
    }
    return text;
}

std::string volume_manager_text(int lines) {
    std::string text;
    for (int i = 0; i < lines; ++i) {
        text += i == lines / 2 ? "#VERBOSE\n"
                               : "DRIVE_" + std::to_string(i) + " = robot 0 slot " + std::to_string(i) + "\n";
    }
    return text;
}

void prepare_packages(int files) {
    fs::create_directories(collection_folder);
    for (const auto& left : fs::directory_iterator(collection_folder)) {
        fs::rename(left.path(), packages_folder);
    }
    if (count_files(packages_folder) != files) {
        fs::remove_all(packages_folder);
        fill_folder(packages_folder, files);
    }
}

void fill_folder(const std::string& folder, int files) {
    fs::create_directories(folder);
    for (int i = 0; i < files; ++i) {
        const std::string path = folder + "/log" + std::to_string(i);
        const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
        if (!file.valid() || !write_all(file.get(), "a line of a log\n")) {
            fail("write " + path);
        }
    }
}
