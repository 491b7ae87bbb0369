#include "tests/platform/rewritten_file.h"

#include <algorithm>
#include <memory>
#include <ostream>

#include "platform/library/statuses.h"
#include "platform/main_configuration.h"
#include "tests/platform/stored_levels.h"
#include "tests/platform/system_calls.h"
#include "tests/support/product_tree.h"
#include "tests/support/test_files.h"

namespace {

struct Settings {
    explicit Settings(std::string text) { status = ParseConfigExA(text.data(), &record, nullptr, 1); }
    ~Settings() { FreeConfig(&record); }
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    ConfigRecord record{};
    int status;
};

Change prepare_settings(const std::string& text) {
    auto settings = std::make_shared<Settings>(text);
    EXPECT_EQ(settings->status, 0);
    return [settings] { return UpdateHostConfigExA(QRConfZMStandardServer, &settings->record, nullptr, 0, 0, 0); };
}

Change prepare_level(unsigned long number, int level) {
    auto originator = std::make_shared<Originator>(number);
    EXPECT_EQ(originator->status(), 0);
    if (originator->status() != 0) {
        return [originator] { return originator->status(); };
    }
    EXPECT_EQ(originator->set_debug_level(level), 0);
    return [originator] { return originator->write(); };
}

RewrittenFile describe_main_configuration() {
    RewrittenFile file;
    file.name = "MainConfiguration";
    file.path = main_configuration;
    file.before = "SERVER = localhost\n# kept\nKEY = old\nLAST = 1\n";
    file.after = "SERVER = localhost\n# kept\nKEY = a new and longer value\nLAST = 1\n";
    file.prepare = [] { return prepare_settings("KEY=a new and longer value"); };
    file.failure = [](int error) { return platform_library::status::configuration_not_updated + error; };
    file.add_entry = [](int number) { return prepare_settings("KEY" + std::to_string(number) + "=1")(); };
    file.entry_line = [](int number) { return "KEY" + std::to_string(number) + " = 1\n"; };
    return file;
}

RewrittenFile describe_store() {
    RewrittenFile file;
    file.name = "UnifiedLoggingStore";
    file.path = store_file();
    file.before = "# kept\n112.DebugLevel=1\n112.DiagnosticLevel=6\n";
    file.after = file.before + "111.DebugLevel=5\n";
    file.prepare = [] { return prepare_level(111, 5); };
    file.failure = [](int error) { return error; };
    file.add_entry = [](int number) { return prepare_level(1000UL + static_cast<unsigned long>(number), 3)(); };
    file.entry_line = [](int number) { return std::to_string(1000 + number) + ".DebugLevel=3\n"; };
    return file;
}

}  // namespace

const RewrittenFile& main_configuration_file() {
    static const RewrittenFile file = describe_main_configuration();
    return file;
}

const RewrittenFile& store_file_of_a_product() {
    static const RewrittenFile file = describe_store();
    return file;
}

// The line of the map ends with the number of users.
RewriteTest::RewriteTest() {
    make_product_tree();
    write_file(GetParam().path, GetParam().before);
    names_before_ = names_in(GetParam().folder());
    system_calls::reset();
}

RewriteTest::~RewriteTest() {
    system_calls::reset();
}

void RewriteTest::expect_text(const std::string& text) const {
    EXPECT_EQ(read_file(GetParam().path), text);
}

void RewriteTest::expect_nothing_left_behind() const {
    const std::string lock = GetParam().lock();
    std::vector<std::string> names = names_before_;
    names.push_back(lock.substr(lock.rfind('/') + 1));
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names_in(GetParam().folder()), names);
}

void RewriteTest::expect_change() const {
    EXPECT_EQ(GetParam().change(), 0);
    expect_rewritten();
    expect_nothing_left_behind();
}
