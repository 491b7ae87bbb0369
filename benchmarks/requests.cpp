#include "benchmarks/requests.h"

#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>

#include "benchmarks/sample_product.h"
#include "tests/support/private_root.h"

namespace fs = std::filesystem;

namespace {

int count_of(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) {
        ++count;
    }
    return count;
}

void check_status(const ProgramRun& run) {
    require(run.answer.find("EXIT STATUS 0 ") != std::string::npos, run.answer.substr(0, 1000));
}

MeasuredRequest categories(const std::string& name, const std::vector<std::string>& words) {
    const auto count = static_cast<int>(words.size()) - 1;
    const auto check = [count](const ProgramRun& run) {
        check_status(run);
        require(count_of(run.answer, " STATUS=0 MSG=") == count, run.answer);
    };
    return {.name = name, .words = words, .prepare = reset_logging, .check = check};
}

// Each copy of a program on a disk is cached in other pages. Copies in memory are all alike.
std::string program_in_memory(const std::string& file) {
    static std::map<std::string, std::string> copies;
    std::string& copy = copies[file];
    if (copy.empty()) {
        const std::string folder = "/opt/measured/" + std::to_string(copies.size());
        fs::create_directories(folder);
        copy = folder + "/" + fs::path(file).filename().string();
        fs::copy_file(inside_path(file), copy);
    }
    return copy;
}

}  // namespace

void require(bool condition, const std::string& what) {
    if (!condition) {
        throw std::runtime_error("not what it was to be: " + what);
    }
}

MeasuredRequest disk_space_request() {
    return {.name = "GETDISKSPACE", .words = {"GETDISKSPACE", "/tmp"}, .check = check_status};
}

// The texts are large, and shared by the runs.
MeasuredRequest volume_manager_request(int lines) {
    const auto before = std::make_shared<const std::string>(volume_manager_text(lines));
    auto text = *before;
    const auto after = std::make_shared<const std::string>(text.erase(text.find("#VERBOSE"), 1));
    return {
        .name = "VMCONF, " + std::to_string(lines) + " lines",
        .words = {"ENABLELOGGING", "VMCONF:daemon1"},
        .prepare = [=] { write_sample_file(volume_manager_file, *before); },
        .check =
            [=](const ProgramRun&) { require(read_sample_file(volume_manager_file) == *after, volume_manager_file); }};
}

MeasuredRequest thirteen_categories() {
    return categories("thirteen categories, without KOB",
                      {"ENABLELOGGING", "ZMKTUL:111=6", "QPKTUL:111=6", "SEARCHKTUL:111=6", "ZMLOGDIR:tapemgr",
                       "MMLOGDIR:daemon1", "QRCONF:TAPEMGR_VERBOSE=5", "RK:kpa=full", "RKPLUGIN:rkplugin",
                       "CORVID:zmwqf=5", "CLOUD:skyhold=5", "JAVAGUI:gui", "HOLKAZ:az", "VMCONF:daemon1"});
}

MeasuredRequest fourteen_categories() {
    std::vector<std::string> words = thirteen_categories().words;
    words.emplace_back("KOB:kob=5");
    return categories("fourteen categories", words);
}

MeasuredRequest listing_request(int files) {
    const auto check = [=](const ProgramRun& run) {
        check_status(run);
        require(count_of(run.answer, "ZMSU PACKAGE=") == files, "a listing of " + std::to_string(files) + " files");
    };
    return {.name = "RUNZMSU, listing " + std::to_string(files) + " files",
            .words = {"RUNZMSU", "--collectdir", collection_folder},
            .prepare = [=] { prepare_packages(files); },
            .check = check};
}

MeasuredRequest clean_up_request(const std::string& parent, int files) {
    const std::string folder = parent + "/" + result_name;
    return {.name = "CLEANUP, " + std::to_string(files) + " files",
            .words = {"CLEANUP", folder},
            .prepare = [=] { fill_folder(folder, files); },
            .check = [=](const ProgramRun&) { require(!fs::exists(folder), folder + " is removed"); }};
}

MeasuredRequest over_tcp(MeasuredRequest request) {
    request.name += ", over TCP";
    request.transport = Transport::tcp;
    return request;
}

MeasuredRequest to_slow_reader(MeasuredRequest request) {
    request.name += ", to a slow reader";
    request.reader = Reader::slow;
    return request;
}

std::vector<MeasuredRequest> counted_requests() {
    return {disk_space_request(),  over_tcp(disk_space_request()), volume_manager_request(200),  thirteen_categories(),
            fourteen_categories(), listing_request(100),           clean_up_request("/tmp", 100)};
}

Program program_for(const std::string& file, const MeasuredRequest& request) {
    return {
        .command = {program_in_memory(file)}, .request = encode_request(request.words), .transport = request.transport};
}
