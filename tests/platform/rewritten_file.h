// The files that the library rewrites, each through the library's own operations.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

// Makes a prepared change. Returns 0 or the status of the library.
using Change = std::function<int()>;

struct RewrittenFile {
    const char* name;
    std::string path;
    std::string before;               // the text before the change
    std::string after;                // the text after the change
    std::function<Change()> prepare;  // everything before the rewrite itself
    std::function<int(int error)> failure;
    // Adds an entry that only this number has. The line of that entry.
    std::function<int(int number)> add_entry;
    std::function<std::string(int number)> entry_line;

    [[nodiscard]] std::string folder() const { return path.substr(0, path.rfind('/')); }
    [[nodiscard]] std::string lock() const { return path + ".lock"; }
    [[nodiscard]] std::string new_file() const { return folder() + "/." + path.substr(folder().size() + 1) + ".new"; }
    [[nodiscard]] int change() const { return prepare()(); }
};

inline void PrintTo(const RewrittenFile& file, std::ostream* stream) {
    *stream << file.name;
}

const RewrittenFile& main_configuration_file();
const RewrittenFile& store_file_of_a_product();

// A test that begins with the file as it is before the change.
class RewriteTest : public testing::TestWithParam<RewrittenFile> {
  protected:
    RewriteTest();
    ~RewriteTest() override;

    void expect_rewritten() const { expect_text(GetParam().after); }
    void expect_text(const std::string& text) const;

    // The folder contains what it contained before, and the lock file.
    void expect_nothing_left_behind() const;

    // The change works.
    void expect_change() const;

    std::vector<std::string> names_before_;
};

#define FOR_EACH_REWRITTEN_FILE(suite)                                                    \
    INSTANTIATE_TEST_SUITE_P(                                                             \
        Of, suite, testing::Values(main_configuration_file(), store_file_of_a_product()), \
        [](const testing::TestParamInfo<RewrittenFile>& row) { return std::string(row.param.name); })
