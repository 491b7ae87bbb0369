// Category RK: the files of the deduplication components. One is fixed, the registry names the other.
#include "tests/end_to_end/logging/logging_case.h"

namespace {

using log_level::detail;
using log_level::error;

const std::string registry = "/etc/rkregistry.cfg";
const std::string fixed_file = "/usr/kumel/lib/stg-plugins/qtpipe.conf";
const std::string named_file = "/usr/kumel/kpa.cfg";
const FileState usual_registry = file(registry, "A=1\nCFG=" + named_file + "\nB=2\n");

LogLine found(const std::string& path) {
    return logged(detail, "get_rk_conf_filepath", "Morvisk configuration file path=" + path + " RV=0 ERR=");
}

LogLine cached(const std::string& outcome) {
    return logged(detail, "process_rk", "Using cached: " + outcome);
}

Outcome set(const std::string& component, const std::string& value, const std::vector<LogLine>& log) {
    return {"PROCESS=RK:" + component + " STATUS=0 MSG=Set debug logging '" + value + "'\n", log};
}

RequestCase row_of(const std::string& name, const std::string& values, const std::vector<FileState>& before,
                   const std::vector<Outcome>& outcomes, const std::vector<FileState>& after) {
    RequestCase row = {.name = name, .request = {"ENABLELOGGING", "RK:" + values}, .before = before, .after = after};
    add(row, "process_rk", outcomes);
    return row;
}

class Deduplication : public RequestTable {};

TEST_P(Deduplication, AnswersLogsAndChangesFiles) {
    check_logging(GetParam());
}

RequestCase fixed_component(const std::string& name, const std::string& value, const std::string& written,
                            const std::string& before, const std::string& after) {
    return row_of(name, value, {file(fixed_file, before)}, {set("qtpiped", written, {})}, {file(fixed_file, after)});
}

const std::vector<RequestCase> fixed_components = {
    fixed_component("SetsTheValueOfTheElement", "qtpiped=some", "some", "", "Logging=some,thread\n"),
    fixed_component("DefaultsToFull", "qtpiped", "full", "A=1\n", "A=1\nLogging=full,thread\n"),
    fixed_component("WritesAnEmptyValue", "qtpiped=", "", "", "Logging=,thread\n"),
    fixed_component("WritesAnyValueUnchanged", "qtpiped= a=b%s ", " a=b%s ", "", "Logging= a=b%s ,thread\n"),
    fixed_component("ReplacesActiveLines", "qtpiped", "full", "Logging=none\nA\nxLogging=1\n",
                    "Logging=full,thread\nA\nLogging=full,thread\n"),
    fixed_component("UncommentsALine", "qtpiped", "full", "#Logging=none\n#Logging=some\n",
                    "Logging=full,thread\n#Logging=some\n"),
    fixed_component("IgnoresOtherSeparators", "qtpiped", "full", "Logging = none\nlogging=none\n",
                    "Logging = none\nlogging=none\nLogging=full,thread\n"),
    // The registry is missing, and the agent does not look for it.
    row_of("IsEditedOnceForTheSameComponentTwice", "qtpiped=none,qtpiped=full", {file(fixed_file, "Logging=a\n")},
           {set("qtpiped", "none", {}), set("qtpiped", "full", {cached("EC=0 M=")})},
           {file(fixed_file, "Logging=none,thread\n")}),
};

INSTANTIATE_TEST_SUITE_P(FixedComponent, Deduplication, testing::ValuesIn(fixed_components), name_of_row);

const std::vector<RequestCase> named_components = {
    row_of("FindsTheFileOfEveryOtherNameInTheRegistry", "rkd", {usual_registry, file(named_file, "Logging=none\n")},
           {set("rkd", "full", {found(named_file)})}, {file(named_file, "Logging=full,thread\n")}),
    row_of("ComparesNamesExactly", "QTPIPED=1", {usual_registry, file(named_file)},
           {set("QTPIPED", "1", {found(named_file)})}, {file(named_file, "Logging=1,thread\n")}),
    row_of("AcceptsTheEmptyName", "=1", {usual_registry, file(named_file)}, {set("", "1", {found(named_file)})},
           {file(named_file, "Logging=1,thread\n")}),
    row_of("WritesTheFirstOfTwoValuesAndReportsBoth", "a=full,b=none", {usual_registry, file(named_file)},
           {set("a", "full", {found(named_file)}), set("b", "none", {found(named_file), cached("EC=0 M=")})},
           {file(named_file, "Logging=full,thread\n")}),
    row_of("EditsTwoFilesForOneRequest", "qtpiped=1,a=2,qtpiped=3,b=4",
           {usual_registry, file(named_file), file(fixed_file)},
           {set("qtpiped", "1", {}), set("a", "2", {found(named_file)}), set("qtpiped", "3", {cached("EC=0 M=")}),
            set("b", "4", {found(named_file), cached("EC=0 M=")})},
           {file(fixed_file, "Logging=1,thread\n"), file(named_file, "Logging=2,thread\n")}),
    row_of("EditsTheFixedFileTwiceIfTheRegistryNamesIt", "a=1,qtpiped=2",
           {file(registry, "kpa.cfg=" + fixed_file + "\n"), file(fixed_file)},
           {set("a", "1", {found(fixed_file)}), set("qtpiped", "2", {cached("EC=0 M=")})},
           {file(fixed_file, "Logging=1,thread\n")}),
};

INSTANTIATE_TEST_SUITE_P(NamedComponent, Deduplication, testing::ValuesIn(named_components), name_of_row);

// The agent finds the path in the registry and edits the file.
RequestCase registry_text(const std::string& name, const std::string& text, const std::string& path) {
    return row_of(name, "a", {file(registry, text), file(path)}, {set("a", "full", {found(path)})},
                  {file(path, "Logging=full,thread\n")});
}

const std::vector<RequestCase> registry_texts = {
    registry_text("LastLineWithoutANewline", "A=1\nkpa.cfg=/usr/kumel/k", "/usr/kumel/k"),
    registry_text("MarkerWithinTheKey", "x-kpa.cfg-y=/usr/kumel/k\n", "/usr/kumel/k"),
    registry_text("MarkerWithinThePath", "A=/usr/kumel/kpa.cfg.d\n", "/usr/kumel/kpa.cfg.d"),
    registry_text("MarkerInAComment", "# kpa.cfg=/usr/kumel/old\nkpa.cfg=/usr/kumel/k\n", "/usr/kumel/old"),
    registry_text("FirstOfTwoLines", "KPA.CFG=/usr/kumel/x\nkpa.cfg=/usr/kumel/1\nkpa.cfg=/usr/kumel/2\n",
                  "/usr/kumel/1"),
    registry_text("PathWithAnEqualsSign", "kpa.cfg=/usr/kumel/a=b\n", "/usr/kumel/a=b"),
    registry_text("PathWithSpacesAndCarriageReturn", "kpa.cfg=/usr/kumel/a \r\n", "/usr/kumel/a \r"),
    registry_text("PathWithPercentSigns", "kpa.cfg=/usr/kumel/%s%n\n", "/usr/kumel/%s%n"),
    registry_text("BytesThatAreNotText", std::string("\0\xff\nkpa.cfg=/usr/kumel/k\n", 24), "/usr/kumel/k"),
    // The name of the new copy must end there too. If not, the copy would be the file itself.
    row_of("PathWithAZeroByte", "a",
           {file(registry, std::string("kpa.cfg=/usr/kumel/k\0further\n", 29)), file("/usr/kumel/k", "A=1\n")},
           {set("a", "full", {found("/usr/kumel/k")})}, {file("/usr/kumel/k", "A=1\nLogging=full,thread\n")}),
};

INSTANTIATE_TEST_SUITE_P(Registry, Deduplication, testing::ValuesIn(registry_texts), name_of_row);

Outcome failed(const std::string& component, const std::string& status, const std::string& message,
               const std::vector<LogLine>& log, const std::string& value = "full") {
    return {"PROCESS=RK:" + component + " STATUS=" + status + " MSG=" + message + " (Value=" + value + ")\n", log};
}

// The registry names no file.
Outcome not_found(const std::string& component, const std::string& status, const std::string& message,
                  const std::string& value = "full") {
    return failed(
        component, status, message,
        {logged(error, "get_kpa_conf_filepath", message),
         logged(detail, "get_rk_conf_filepath", "Morvisk configuration file path= RV=" + status + " ERR=" + message)},
        value);
}

Outcome not_edited(const std::string& component, const std::string& path, const std::string& message,
                   const std::string& value = "full") {
    return failed(component, "5803", message, {found(path), logged(error, "set_parameter_value", message)}, value);
}

const std::string no_registry = "Failed to open file (/etc/rkregistry.cfg) E=2 (No such file or directory)";
const std::string no_entry = "Failed to find kpa.cfg entry in /etc/rkregistry.cfg";
const std::string no_named_file = "Could not open file /usr/kumel/kpa.cfg E=2 (No such file or directory)";

const std::vector<RequestCase> failures = {
    row_of("RegistryIsMissing", "a,b=1", {},
           {not_found("a", "5803", no_registry), not_found("b", "5803", no_registry, "1")}, {}),
    row_of("RegistryIsMissingAndTheFixedComponentWorks", "a,qtpiped", {file(fixed_file)},
           {not_found("a", "5803", no_registry), set("qtpiped", "full", {})},
           {file(fixed_file, "Logging=full,thread\n")}),
    row_of("RegistryHasNoSuchLine", "a", {file(registry, "A=1\nkpa-cfg=/x\nKPA.CFG=/x\n")},
           {not_found("a", "5806", no_entry)}, {}),
    row_of("RegistryIsEmpty", "a=,b", {file(registry)},
           {not_found("a", "5806", no_entry, ""), not_found("b", "5806", no_entry)}, {}),
    row_of("LineOfTheRegistryHasNoEqualsSign", "a", {file(registry, "kpa.cfg /usr/kumel/k\n")},
           {not_edited("a", "", "Could not open file  E=2 (No such file or directory)")}, {}),
    row_of("PathInTheRegistryHasALeadingSpace", "a", {file(registry, "kpa.cfg= /usr/kumel/k\n"), file("/usr/kumel/k")},
           {not_edited("a", " /usr/kumel/k", "Could not open file  /usr/kumel/k E=2 (No such file or directory)")}, {}),
    row_of("NamedFileIsMissing", "a,b=1", {usual_registry},
           {not_edited("a", named_file, no_named_file),
            failed("b", "5803", no_named_file, {found(named_file), cached("EC=5803 M=" + no_named_file)}, "1")},
           {}),
    row_of("FixedFileIsMissing", "qtpiped", {},
           {failed("qtpiped", "5803", "Could not open file " + fixed_file + " E=2 (No such file or directory)",
                   {logged(error, "set_parameter_value",
                           "Could not open file " + fixed_file + " E=2 (No such file or directory)")})},
           {}),
    row_of("FixedFileHasNoRoomForItsCopy", "qtpiped", {file(fixed_file), folder(fixed_file + ".new")},
           {failed("qtpiped", "5803", "Could not open file " + fixed_file + ".new for writing E=21 (Is a directory)",
                   {logged(error, "set_parameter_value",
                           "Could not open file " + fixed_file + ".new for writing E=21 (Is a directory)")})},
           {}),
};

INSTANTIATE_TEST_SUITE_P(Failure, Deduplication, testing::ValuesIn(failures), name_of_row);

}  // namespace
