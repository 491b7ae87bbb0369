// Names of files that do not exist yet.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <map>
#include <set>
#include <string>

#include "platform/runtime.h"
#include "tests/platform/child_process.h"
#include "tests/platform/system_calls.h"
#include "tests/support/debug_log_lines.h"
#include "tests/support/failing_calls.h"
#include "tests/support/test_files.h"

using failing_calls::always;
using failing_calls::failures;
using system_calls::overrides;

namespace {

class TemporaryName : public testing::Test {
  protected:
    TemporaryName() { system_calls::reset(); }
    ~TemporaryName() override { system_calls::reset(); }

    // Returns a name without the folder, which has to be the expected one.
    [[nodiscard]] std::string choose(const std::string& prefix = "zmla") const {
        const std::string path = temporary_name(folder_.path(), prefix);
        const std::string front = folder_.path() + "/";
        EXPECT_TRUE(path.starts_with(front)) << path;
        return path.substr(std::min(front.size(), path.size()));
    }

    ScratchFolder folder_;
};

long long nanoseconds_now() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

}  // namespace

TEST_F(TemporaryName, HasTheFormThatCleanupAccepts) {
    for (int i = 0; i < 1000; ++i) {
        const std::string name = choose();
        EXPECT_TRUE(matches_pattern("<temporary>", name)) << name;
    }
}

TEST_F(TemporaryName, BeginsWithItsPrefix) {
    EXPECT_TRUE(choose("other").starts_with("other-"));
    EXPECT_EQ(choose("other").size(), 5 + 1 + 29 + 1 + 6U);
}

TEST_F(TemporaryName, ContainsTheTimeAndTheProcess) {
    const long long before = nanoseconds_now();
    const std::string name = choose();
    const long long after = nanoseconds_now();
    const long long time = std::stoll(name.substr(5, 19));
    EXPECT_GE(time, before);
    EXPECT_LE(time, after);
    std::string process = std::to_string(getpid());
    process.insert(0, 10 - process.size(), '0');
    EXPECT_EQ(name.substr(24, 10), process);
}

TEST_F(TemporaryName, ContainsTheTimeIn19Digits) {
    overrides.time_of_day = timespec{1'700'000'000, 42};
    EXPECT_EQ(choose().substr(5, 19), "1700000000000000042");
}

TEST_F(TemporaryName, EndsInLettersAndDigitsOfAllKinds) {
    std::set<char> seen;
    for (int i = 0; i < 500; ++i) {
        const std::string name = choose();
        seen.insert(name.end() - 6, name.end());
    }
    EXPECT_EQ(std::string(seen.begin(), seen.end()), "0123456789abcdefghijklmnopqrstuvwxyz");
}

// 256 is not a multiple of 36. The last four values of a byte would make four characters more likely.
TEST_F(TemporaryName, EndsInEquallyLikelyCharacters) {
    std::map<char, int> times;
    for (int byte = 0; byte < 252; ++byte) {
        const auto value = static_cast<unsigned char>(byte);
        overrides.random_bytes = {255, 254, 253, 252, value, value, value, value, value, value};
        const std::string name = choose();
        EXPECT_EQ(name.substr(name.size() - 6), std::string(6, name.back())) << byte;
        ++times[name.back()];
    }
    EXPECT_EQ(times.size(), 36U);
    for (const auto& [character, count] : times) {
        EXPECT_EQ(count, 7) << character;
    }
}

TEST_F(TemporaryName, EndsInCharactersFromTheClockWithoutRandomBytes) {
    failures["getrandom"] = always(ENOSYS);
    overrides.time_of_day = timespec{1'700'000'000, 256 + 35};
    EXPECT_TRUE(choose().ends_with("-999999"));
    overrides.time_of_day = timespec{1'700'000'000, 256 + 36};
    EXPECT_TRUE(choose().ends_with("-aaaaaa"));
}

TEST_F(TemporaryName, DiffersEachTime) {
    overrides.time_of_day = timespec{1'700'000'000, 42};
    std::set<std::string> names;
    for (int i = 0; i < 100; ++i) {
        names.insert(choose());
    }
    EXPECT_EQ(names.size(), 100U);
}

TEST_F(TemporaryName, CreatesNothing) {
    static_cast<void>(choose());
    EXPECT_TRUE(names_in(folder_.path()).empty());
    EXPECT_TRUE(temporary_name("/no/such/folder", "zmla").starts_with("/no/such/folder/zmla-"));
}

// The same time and the same random bytes give the same name.
TEST_F(TemporaryName, IsNotTaken) {
    const std::deque<unsigned char> chance = {1, 2, 3, 4, 5, 6};
    overrides.time_of_day = timespec{1'700'000'000, 42};
    overrides.random_bytes = chance;
    const std::string taken = choose();
    overrides.random_bytes = chance;
    ASSERT_EQ(choose(), taken);

    write_file(folder_.path(taken), "");
    overrides.random_bytes = chance;
    EXPECT_NE(choose(), taken);
    remove_tree(folder_.path(taken));

    make_folder(folder_.path(taken));
    overrides.random_bytes = chance;
    EXPECT_NE(choose(), taken);
    remove_tree(folder_.path(taken));

    make_link("nothing", folder_.path(taken));
    overrides.random_bytes = chance;
    EXPECT_NE(choose(), taken);
}
