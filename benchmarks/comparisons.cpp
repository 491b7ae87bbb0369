#include "benchmarks/comparisons.h"

#include <unistd.h>

#include <filesystem>
#include <memory>
#include <stdexcept>

#include "benchmarks/sample_product.h"
#include "tests/support/private_root.h"

namespace fs = std::filesystem;

namespace {

const std::string result_name = "zmla-12345678901234567890123456789-abcdef";
constexpr unsigned long one_gibibyte = 1UL << 30;

void require(bool condition, const std::string& what) {
    if (!condition) {
        throw std::runtime_error("not what it was to be: " + what);
    }
}

Program agent(const std::vector<std::string>& request) {
    return {.command = {inside_path(AGENT_FILE)}, .request = encode_request(request)};
}

void check_status(const ProgramRun& run) {
    require(run.answer.find("EXIT STATUS 0 ") != std::string::npos, run.answer);
}

Contender agent_with_disk_space() {
    return {.name = "agent", .program = disk_space_by_agent(), .check = check_status};
}

// What all requests are held against.
Contender floor_with_disk_space() {
    return {.name = "floor", .program = disk_space_by_floor(), .check = check_status};
}

Program floor_program(const std::vector<std::string>& request) {
    return {.command = {inside_path(FLOOR_FILE)}, .request = encode_request(request)};
}

Contender clean_up(const std::string& name, const Program& program, const std::string& folder, int files) {
    return {.name = name,
            .program = program,
            .prepare = [=] { fill_folder(folder, files); },
            .check = [=](const ProgramRun&) { require(!fs::exists(folder), folder + " is removed"); }};
}

Contender clean_up_by_agent(const std::string& folder, int files) {
    return clean_up("agent", agent({"CLEANUP", folder}), folder, files);
}

Comparison clean_up_against_rm(const std::string& where, const std::string& parent) {
    const std::string folder = parent + "/" + result_name;
    const Program rm = {.command = {"rm", "-rf", folder}, .request = ""};
    return {.what = "CLEANUP of 10,000 files " + where,
            .measured = clean_up_by_agent(folder, 10'000),
            .reference = clean_up("rm -rf", rm, folder, 10'000),
            .weight = Weight::heavy,
            .target = 1.0};
}

// The texts are large, and shared by the runs.
Contender verbose_volume_manager(const std::string& name, const Program& program, int lines) {
    const auto before = std::make_shared<const std::string>(volume_manager_text(lines));
    auto text = *before;
    const auto after = std::make_shared<const std::string>(text.erase(text.find("#VERBOSE"), 1));
    return {.name = name,
            .program = program,
            .prepare = [=] { write_sample_file(volume_manager_file, *before); },
            .check =
                [=](const ProgramRun&) {
                    require(read_sample_file(volume_manager_file) == *after, volume_manager_file + " by " + name);
                }};
}

Contender verbose_by_sed(int lines) {
    const Program sed = {.command = {"sed", "-i", "s/^#VERBOSE$/VERBOSE/", volume_manager_file}, .request = ""};
    return verbose_volume_manager("sed -i", sed, lines);
}

// A request of all categories but KOB, whose cost is that of a shell and a tool.
std::vector<std::string> thirteen_categories() {
    return {"ENABLELOGGING",
            "ZMKTUL:111=6",
            "QPKTUL:111=6",
            "SEARCHKTUL:111=6",
            "ZMLOGDIR:tapemgr",
            "MMLOGDIR:daemon1",
            "QRCONF:TAPEMGR_VERBOSE=5",
            "RK:kpa=full",
            "RKPLUGIN:rkplugin",
            "CORVID:zmwqf=5",
            "CLOUD:skyhold=5",
            "JAVAGUI:gui",
            "HOLKAZ:az",
            "VMCONF:daemon1"};
}

Contender categories(const std::vector<std::string>& request) {
    const auto count = static_cast<int>(request.size()) - 1;
    const auto check = [count](const ProgramRun& run) {
        check_status(run);
        int successes = 0;
        for (std::size_t at = 0; (at = run.answer.find(" STATUS=0 MSG=", at)) != std::string::npos; ++at) {
            ++successes;
        }
        require(successes == count, run.answer);
    };
    return {.name = "agent", .program = agent(request), .prepare = reset_logging, .check = check};
}

Contender fourteen_categories() {
    std::vector<std::string> request = thirteen_categories();
    request.emplace_back("KOB:kob=5");
    return categories(request);
}

Contender large_output(const std::string& name, const Program& program) {
    return {.name = name, .program = program, .check = [=](const ProgramRun& run) {
                require(run.received >= one_gibibyte, name + " passes 1 GiB on");
            }};
}

Comparison against_floor(const std::string& what, const Contender& measured, std::optional<double> target) {
    return {.what = what, .measured = measured, .reference = floor_with_disk_space(), .target = target};
}

std::vector<Comparison> small_requests() {
    const Contender verbose = verbose_by_agent(200);
    const Program verbose_floor = floor_program({"ENABLELOGGING", "VMCONF:daemon1"});
    const Contender floor_with_tool = {
        .name = "floor + tool", .program = floor_program({"ENABLELOGGING", "KOB:kob=5"}), .check = check_status};
    return {
        against_floor("GETDISKSPACE", agent_with_disk_space(), 1.15),
        {.what = "GETDISKSPACE",
         .measured = agent_with_disk_space(),
         .reference = {.name = "df", .program = {.command = {"df", "/tmp"}, .request = ""}}},
        against_floor("VMCONF, 200 lines", verbose, 1.3),
        {.what = "VMCONF, 200 lines",
         .measured = verbose,
         .reference = verbose_volume_manager("floor + file", verbose_floor, 200)},
        {.what = "VMCONF, 200 lines", .measured = verbose, .reference = verbose_by_sed(200), .target = 0.6},
        {.what = "VMCONF, 200 lines",
         .measured = verbose,
         .reference = verbose_by_augtool(200, 60),
         .weight = Weight::heavy},
        against_floor("fourteen categories", fourteen_categories(), 2.6),
        {.what = "fourteen categories", .measured = fourteen_categories(), .reference = floor_with_tool},
        against_floor("thirteen, without KOB", categories(thirteen_categories()), std::nullopt),
    };
}

std::vector<Comparison> large_requests() {
    const std::string tool = "/usr/kumel/zembrath/bin/support/old_zmsu";
    const std::string folder = "/tmp/" + result_name;
    return {
        {.what = "output of 1 GiB",
         .measured = large_output("agent", agent({"zmsu"})),
         .reference = large_output("tool alone", {.command = {tool}, .request = ""}),
         .weight = Weight::heaviest,
         .target = 1.05},
        {.what = "VMCONF, 1,000,000 lines",
         .measured = verbose_by_agent(1'000'000),
         .reference = verbose_by_sed(1'000'000),
         .weight = Weight::heaviest},
        {.what = "VMCONF, 10,000 lines",
         .measured = verbose_by_agent(10'000),
         .reference = verbose_by_augtool(10'000, 60),
         .weight = Weight::heaviest},
        {.what = "VMCONF, a line of 1,000,000",
         .measured = verbose_by_agent(1'000'000),
         .reference = verbose_by_agent(100'000),
         .weight = Weight::heaviest,
         .target = 1.5,
         .more_work = 10},
        {.what = "CLEANUP, a file of 100,000",
         .measured = clean_up_by_agent(folder, 100'000),
         .reference = clean_up_by_agent(folder, 10'000),
         .weight = Weight::heaviest,
         .target = 1.5,
         .more_work = 10},
    };
}

}  // namespace

Contender verbose_by_agent(int lines) {
    return verbose_volume_manager("agent", agent({"ENABLELOGGING", "VMCONF:daemon1"}), lines);
}

// With the one lens that the change needs, not all that it has.
Contender verbose_by_augtool(int lines, int patience_seconds) {
    const std::string script = "/tmp/augtool_commands";
    const std::string tree = "/files" + volume_manager_file;
    const std::string remark = tree + "/#comment[. = 'VERBOSE']";
    write_sample_file(
        script, "ins 999999999 before " + remark + "\nset " + tree + "/999999999 VERBOSE\nrm " + remark + "\nsave\n");
    const Program augtool = {.command = {"timeout", std::to_string(patience_seconds), "augtool", "--noautoload",
                                         "--transform", "Simplelines incl " + volume_manager_file, "--file", script},
                             .request = ""};
    return verbose_volume_manager("augtool", augtool, lines);
}

Program disk_space_by_agent() {
    return agent({"GETDISKSPACE", "/tmp"});
}

Program disk_space_by_floor() {
    return floor_program({"GETDISKSPACE", "/tmp"});
}

std::string disk_folder() {
    const std::string folder = inside_path(DISK_FOLDER);
    return access(folder.c_str(), W_OK) == 0 ? folder : "";
}

std::vector<Comparison> make_comparisons() {
    make_sample_product();
    fs::copy_file(inside_path(IDLE_TOOL_FILE), "/opt/HOLKkob/bin/ktlogcfg");
    std::vector<Comparison> comparisons = small_requests();
    comparisons.push_back(clean_up_against_rm("in memory", "/tmp"));
    if (!disk_folder().empty()) {
        comparisons.push_back(clean_up_against_rm("on disk", disk_folder()));
    }
    for (Comparison& comparison : large_requests()) {
        comparisons.push_back(std::move(comparison));
    }
    return comparisons;
}
