#include "benchmarks/comparisons.h"

#include "benchmarks/requests.h"
#include "benchmarks/sample_product.h"
#include "tests/support/private_root.h"

namespace {

constexpr unsigned long one_gibibyte = 1UL << 30;

Contender contender(const std::string& name, const std::string& file, const MeasuredRequest& request) {
    return {.name = name, .program = program_for(file, request), .prepare = request.prepare, .check = request.check};
}

// A tool that does the same as the request.
Contender tool(const std::vector<std::string>& command, const std::string& name, const MeasuredRequest& request) {
    return {.name = name,
            .program = {.command = command, .request = "", .transport = request.transport},
            .prepare = request.prepare,
            .check = request.check};
}

// A tool; its output is not checked.
Contender reporting_tool(const std::vector<std::string>& command, const std::string& name,
                         const MeasuredRequest& request) {
    Contender result = tool(command, name, request);
    result.check = [=](const ProgramRun& run) { require(run.received > 0, name + " reports"); };
    return result;
}

// The cost of starting and ending a program that is linked like the agent.
Contender empty_program(const MeasuredRequest& request) {
    Program program = program_for(IDLE_TOOL_FILE, request);
    program.request.clear();
    return {.name = "empty program", .program = program};
}

class Builder {
  public:
    explicit Builder(const Surroundings& surroundings) : surroundings_(surroundings) {}

    // The agent, the package's agent where there is one, and the best.
    [[nodiscard]] Comparison compare(const MeasuredRequest& request, Weight weight = Weight::light) const {
        Comparison comparison = {
            .what = request.name, .contenders = {contender("agent", AGENT_FILE, request)}, .weight = weight};
        if (!surroundings_.package_agent.empty()) {
            comparison.contenders.push_back(contender("package", surroundings_.package_agent, request));
        }
        comparison.contenders.push_back(contender("best", BEST_FILE, request));
        return comparison;
    }

    // A floor too, which carries out a request of its own.
    [[nodiscard]] Comparison compare(const MeasuredRequest& request, const MeasuredRequest& floor,
                                     Weight weight = Weight::light) const {
        Comparison comparison = compare(request, weight);
        comparison.contenders.push_back(contender("floor", FLOOR_FILE, floor));
        return comparison;
    }

    // Small requests are compared with the floor of a request for free space.
    [[nodiscard]] std::vector<Comparison> small_requests() const {
        const MeasuredRequest space = disk_space_request();
        const MeasuredRequest space_over_tcp = over_tcp(space);
        std::vector<Comparison> comparisons = {compare(space, space), compare(space_over_tcp, space_over_tcp)};
        comparisons[0].contenders.push_back(empty_program(space));
        comparisons[0].contenders.push_back(reporting_tool({"df", "/tmp"}, "df", space));
        comparisons[1].contenders.push_back(reporting_tool({"sh", "-c", "df /tmp"}, "sh -c df", space_over_tcp));
        comparisons.push_back(volume_manager(200, Weight::light));
        comparisons.back().contenders.push_back(contender("floor", FLOOR_FILE, space));
        comparisons.back().contenders.push_back(contender("floor + file", FLOOR_FILE, volume_manager_request(200)));
        comparisons.push_back(beside_augtool(200));
        comparisons.push_back(compare(fourteen_categories(), space));
        comparisons.push_back(compare(thirteen_categories(), space));
        return comparisons;
    }

    [[nodiscard]] Comparison volume_manager(int lines, Weight weight) const {
        const MeasuredRequest request = volume_manager_request(lines);
        Comparison comparison = compare(request, weight);
        comparison.contenders.push_back(
            tool({"sed", "-i", "s/^#VERBOSE$/VERBOSE/", volume_manager_file}, "sed -i", request));
        comparison.unit = "lines";
        comparison.size = lines;
        return comparison;
    }

    // augtool loads only the lens that the change needs. Its time grows with the square of the lines.
    [[nodiscard]] Comparison beside_augtool(int lines) const {
        const std::string script = "/tmp/augtool_commands";
        const std::string tree = "/files" + volume_manager_file;
        const std::string remark = tree + "/#comment[. = 'VERBOSE']";
        write_sample_file(script, "ins 999999999 before " + remark + "\nset " + tree + "/999999999 VERBOSE\nrm " +
                                      remark + "\nsave\n");
        const MeasuredRequest request = volume_manager_request(lines);
        const std::vector<std::string> command = {
            "augtool", "--noautoload", "--transform", "Simplelines incl " + volume_manager_file, "--file", script};
        return {.what = request.name + " beside augtool",
                .contenders = {contender("agent", AGENT_FILE, request), tool(command, "augtool", request)},
                .weight = Weight::heavy,
                .unit = "lines",
                .size = lines};
    }

    [[nodiscard]] Comparison clean_up(const std::string& parent, int files, Weight weight) const {
        const std::string folder = parent + "/" + result_name;
        const MeasuredRequest request = clean_up_request(parent, files);
        Comparison comparison = compare(request, request, weight);
        comparison.contenders.push_back(tool({"rm", "-rf", folder}, "rm -rf", request));
        comparison.contenders.push_back(tool({"find", folder, "-delete"}, "find -delete", request));
        comparison.unit = "files";
        comparison.size = files;
        return comparison;
    }

    [[nodiscard]] Comparison listing(int files, Weight weight) const {
        const MeasuredRequest request = listing_request(files);
        Comparison comparison = compare(request, request, weight);
        comparison.contenders.push_back(reporting_tool({"ls", "-lU", packages_folder}, "ls -lU", request));
        comparison.unit = "packages";
        comparison.size = files;
        return comparison;
    }

    // The best pauses like the agent, but keeps the kernel's buffer size.
    [[nodiscard]] Comparison listing_to_slow_reader() const {
        const MeasuredRequest request = to_slow_reader(listing_request(10'000));
        return compare(request, Weight::heavy);
    }

    [[nodiscard]] Comparison large_output() const {
        const auto check = [](const ProgramRun& run) { require(run.received >= one_gibibyte, "1 GiB is passed on"); };
        const MeasuredRequest request = {.name = "output of 1 GiB", .words = {"versioninfo"}, .check = check};
        const std::string path = "/usr/kumel/zembrath/bin/goodies/support/versioninfo";
        return {.what = request.name,
                .contenders = {contender("agent", AGENT_FILE, request), tool({path}, "the tool itself", request)},
                .weight = Weight::heaviest};
    }

    [[nodiscard]] std::vector<Comparison> large_requests() const {
        std::vector<Comparison> comparisons = {listing(100, Weight::light),
                                               listing(1'000, Weight::heavy),
                                               listing(10'000, Weight::heavy),
                                               clean_up("/tmp", 100, Weight::light),
                                               clean_up("/tmp", 1'000, Weight::heavy),
                                               clean_up("/tmp", 10'000, Weight::heavy),
                                               clean_up("/tmp", 100'000, Weight::heaviest),
                                               volume_manager(2'000, Weight::heavy),
                                               volume_manager(20'000, Weight::heavy),
                                               volume_manager(200'000, Weight::heaviest),
                                               volume_manager(1'000'000, Weight::heaviest),
                                               listing_to_slow_reader(),
                                               beside_augtool(2'000),
                                               large_output()};
        if (!surroundings_.disk_folder.empty()) {
            comparisons.push_back(clean_up(surroundings_.disk_folder, 10'000, Weight::heaviest));
            comparisons.back().what += " on a disk";
            comparisons.back().unit.clear();
        }
        return comparisons;
    }

  private:
    const Surroundings& surroundings_;
};

}  // namespace

std::vector<Comparison> make_comparisons(const Surroundings& surroundings) {
    const Builder builder(surroundings);
    std::vector<Comparison> comparisons = builder.small_requests();
    for (Comparison& comparison : builder.large_requests()) {
        comparisons.push_back(std::move(comparison));
    }
    return comparisons;
}
