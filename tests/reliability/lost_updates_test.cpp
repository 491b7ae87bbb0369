// Many writers change one file that the platform library rewrites, with an agent of its own for each change.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>
#include <string>

#include "logging_config/text_lines.h"
#include "tests/reliability/load_share.h"
#include "tests/reliability/writers.h"
#include "tests/support/product_test.h"
#include "tests/support/test_files.h"

namespace {

// A file in which every change adds a line of its own.
struct SharedFile {
    std::string name;
    std::string path;
    std::string before;
    std::function<Request(int)> request;
    std::function<std::string(int)> line;
};

const SharedFile configuration = {
    .name = "qr.conf",
    .path = main_configuration,
    .before = "# trusted\nSERVER = localhost\n",
    .request = [](int change) -> Request {
        return {"ENABLELOGGING", "QRCONF:P" + std::to_string(change) + "_VERBOSE=" + std::to_string(change)};
    },
    .line = [](int change) { return "P" + std::to_string(change) + "_VERBOSE = " + std::to_string(change); }};

const SharedFile store = {.name = "51216.conf",
                          .path = "/usr/kumel/ktul/51216.conf",
                          .before = "# levels\n111.DebugLevel=1\n",
                          .request = [](int change) -> Request {
                              return {"ENABLELOGGING", "ZMKTUL:" + std::to_string(1000 + change) + "=5"};
                          },
                          .line = [](int change) { return std::to_string(1000 + change) + ".DebugLevel=5"; }};

std::multiset<std::string> lines_of(const std::string& text) {
    const std::vector<std::string_view> lines = split_lines(text);
    return {lines.begin(), lines.end()};
}

class ManyWriters : public ProductTest {
  protected:
    // Each writer makes its changes one after the other.
    void change(const SharedFile& file) const {
        write_file(file.path, file.before);
        Writers writers(writers_, [&](int writer) {
            int failed = 0;
            for (int i = 0; i < changes_; ++i) {
                const AgentRun run = ask_own_agent(file.request(writer * changes_ + i));
                failed += run.status() == 0 && run.output().find(" STATUS=0 ") != std::string::npos ? 0 : 1;
            }
            return failed;
        });
        EXPECT_EQ(writers.finish(), 0) << "changes failed";
    }

    void expect_all_kept(const SharedFile& file) const {
        const int all = writers_ * changes_;
        const std::string text = read_file(file.path);
        const std::multiset<std::string> lines = lines_of(text.substr(std::min(file.before.size(), text.size())));
        int kept = 0;
        for (int i = 0; i < all; ++i) {
            kept += static_cast<int>(lines.count(file.line(i)));
        }
        print_figure(file.name + ": " + std::to_string(writers_) + " writers, changes made", all);
        print_figure(file.name + ": " + std::to_string(writers_) + " writers, changes kept", kept);
        EXPECT_EQ(kept, all);
        EXPECT_EQ(static_cast<int>(lines.size()), all) << "lines that no writer has written";
        EXPECT_EQ(text.substr(0, file.before.size()), file.before);
    }

    const int writers_ = share(16, 64);
    const int changes_ = share(25, 100);
};

TEST_F(ManyWriters, LoseNoChangeOfTheMainConfiguration) {
    change(configuration);
    expect_all_kept(configuration);
}

TEST_F(ManyWriters, LoseNoChangeOfALoggingStore) {
    change(store);
    expect_all_kept(store);
}

}  // namespace
