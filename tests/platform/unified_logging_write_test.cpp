// Writing to the unified logging store.
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <string>

#include "tests/platform/stored_levels.h"
#include "tests/support/product_test.h"

namespace {

using namespace std::string_literals;

using Change = std::function<void(Originator&)>;

Change debug(int level) {
    return [level](Originator& originator) { EXPECT_EQ(originator.set_debug_level(level), 0); };
}

Change diagnostic(int level) {
    return [level](Originator& originator) { EXPECT_EQ(originator.set_diagnostic_level(level), 0); };
}

Change removal(int mask) {
    return [mask](Originator& originator) { EXPECT_EQ(originator.remove(mask), 0); };
}

constexpr int both = holk_debug_level_setting | holk_diagnostic_level_setting;

struct StoreChange {
    const char* name;
    std::string before;
    std::vector<Change> changes;
    std::string after;
};

// Changes of originator 111.
const StoreChange rows[] = {
    {"nothing changed", "111.DebugLevel=3\nrest", {}, "111.DebugLevel=3\nrest"},
    {"set where nothing is", "", {debug(6), diagnostic(5)}, "111.DebugLevel=6\n111.DiagnosticLevel=5\n"},
    {"debug level first", "", {diagnostic(5), debug(6)}, "111.DebugLevel=6\n111.DiagnosticLevel=5\n"},
    {"only a diagnostic level", "", {diagnostic(0)}, "111.DiagnosticLevel=0\n"},
    {"only a debug level", "", {debug(0)}, "111.DebugLevel=0\n"},
    {"added at the end", "112.DebugLevel=1\n# end\n", {debug(6)}, "112.DebugLevel=1\n# end\n111.DebugLevel=6\n"},
    {"added after a line without a newline", "112.DebugLevel=1", {debug(6)}, "112.DebugLevel=1\n111.DebugLevel=6\n"},
    {"replaced in its place",
     "1.DebugLevel=1\n111.DebugLevel=1\n2.DebugLevel=2\n",
     {debug(6)},
     "1.DebugLevel=1\n111.DebugLevel=6\n2.DebugLevel=2\n"},
    {"each kind in its place",
     "111.DiagnosticLevel=1\nx\n111.DebugLevel=2\n",
     {debug(3), diagnostic(4)},
     "111.DiagnosticLevel=4\nx\n111.DebugLevel=3\n"},
    {"one in its place, the other added",
     "111.DiagnosticLevel=1\nx\n",
     {debug(3), diagnostic(4)},
     "111.DiagnosticLevel=4\nx\n111.DebugLevel=3\n"},
    {"later lines dropped",
     "111.DebugLevel=1\nx\n111.DebugLevel=2\n111.DiagnosticLevel=5\n111.DebugLevel=3\n",
     {debug(6)},
     "111.DebugLevel=6\nx\n111.DiagnosticLevel=5\n"},
    {"later bad lines dropped too when they come after the reading",
     "111.DebugLevel=1\n111.DebugLevel=1\n",
     {debug(6), [](Originator&) { write_store("111.DebugLevel=1\n111.DebugLevel=x\n111.DebugLevel=\n"); }},
     "111.DebugLevel=6\n"},
    {"removed", "111.DebugLevel=1\n111.DiagnosticLevel=5\n", {removal(32)}, "111.DiagnosticLevel=5\n"},
    {"the other removed", "111.DebugLevel=1\n111.DiagnosticLevel=5\n", {removal(64)}, "111.DebugLevel=1\n"},
    {"both removed", "a\n111.DebugLevel=1\nb\n111.DiagnosticLevel=5\nc\n", {removal(both)}, "a\nb\nc\n"},
    {"both removed, one by one", "111.DebugLevel=1\n111.DiagnosticLevel=5\n", {removal(32), removal(64)}, ""},
    {"all lines of a kind removed", "111.DebugLevel=1\nx\n111.DebugLevel=2\n111.DebugLevel=3", {removal(32)}, "x\n"},
    {"removed by a mask that names neither", "111.DebugLevel=1\n", {removal(0)}, "111.DebugLevel=1\n"},
    {"one set, the other removed",
     "111.DebugLevel=1\n111.DiagnosticLevel=5\n",
     {removal(64), debug(2)},
     "111.DebugLevel=2\n"},
    {"set and then removed", "111.DebugLevel=1\n", {debug(2), removal(32)}, ""},
    {"removed and then set", "111.DebugLevel=1\nx\n", {removal(32), debug(2)}, "111.DebugLevel=2\nx\n"},
    {"set several times", "", {debug(1), debug(2), debug(3)}, "111.DebugLevel=3\n"},
    {"a level out of range corrected", "111.DebugLevel=99\n", {debug(6)}, "111.DebugLevel=6\n"},
    {"the default's entries untouched",
     "112.DebugLevel=1\n112.DiagnosticLevel=6\n",
     {debug(6), removal(64)},
     "112.DebugLevel=1\n112.DiagnosticLevel=6\n111.DebugLevel=6\n"},
    {"other lines kept byte for byte",
     "#111.DebugLevel=1\n 111.DebugLevel=2\r\n111.debuglevel=3\n111.DebugLevel =4\n1111.DebugLevel=5\n\n\0\xff\x01\n"
     "0111.DebugLevel=6\n113.DebugLevel=x\n111.DebugLevel=1\n11.DebugLevel=7"s,
     {debug(6)},
     "#111.DebugLevel=1\n 111.DebugLevel=2\r\n111.debuglevel=3\n111.DebugLevel =4\n1111.DebugLevel=5\n\n\0\xff\x01\n"
     "0111.DebugLevel=6\n113.DebugLevel=x\n111.DebugLevel=6\n11.DebugLevel=7\n"s},
    {"other lines kept as they are when it is written",
     "111.DebugLevel=1\n113.DebugLevel=1\n",
     {debug(6),
      [](Originator&) {
          write_store("114.DebugLevel=4\n111.DebugLevel=2\n113.DebugLevel=3\n111.DiagnosticLevel=4\n");
      }},
     "114.DebugLevel=4\n111.DebugLevel=6\n113.DebugLevel=3\n111.DiagnosticLevel=4\n"},
    {"an entry added that is gone meanwhile",
     "111.DebugLevel=1\n",
     {debug(6), [](Originator&) { write_store("x\n"); }},
     "x\n111.DebugLevel=6\n"},
    {"an entry removed that came meanwhile",
     "",
     {removal(32), [](Originator&) { write_store("111.DebugLevel=2\n"); }},
     ""},
};

}  // namespace

class UnifiedLoggingWrite : public ProductTest {};

TEST_F(UnifiedLoggingWrite, AppliesOnlyTheChanges) {
    for (const StoreChange& row : rows) {
        write_store(row.before);
        Originator originator(111);
        ASSERT_EQ(originator.status(), 0) << row.name;
        for (const Change& change : row.changes) {
            change(originator);
        }
        EXPECT_EQ(originator.write(), 0) << row.name;
        EXPECT_EQ(read_file(store_file()), row.after) << row.name;
    }
}

TEST_F(UnifiedLoggingWrite, IsReadAfterwards) {
    write_store("112.DebugLevel=1\n112.DiagnosticLevel=6\n");
    Originator originator(111);
    originator.set_debug_level(4);
    originator.set_diagnostic_level(2);
    EXPECT_EQ(originator.write(), 0);
    EXPECT_EQ(Originator(111).debug_level(), 4);
    EXPECT_EQ(Originator(111).diagnostic_level(), 2);
    originator.remove(both);
    EXPECT_EQ(originator.write(), 0);
    EXPECT_EQ(Originator(111).debug_level(), 1);
    EXPECT_EQ(Originator(111).diagnostic_level(), 6);
}

TEST_F(UnifiedLoggingWrite, AcceptsTheGreatestOriginator) {
    write_store("");
    Originator originator(4294967295UL);
    originator.set_debug_level(4);
    EXPECT_EQ(originator.write(), 0);
    EXPECT_EQ(read_file(store_file()), "4294967295.DebugLevel=4\n");
}

TEST_F(UnifiedLoggingWrite, ChangesOnlyTheFileOfTheProduct) {
    write_store("111.DebugLevel=1\n", 51216);
    write_store("111.DebugLevel=1\n", 58330);
    Originator originator(111, 58330);
    originator.set_debug_level(4);
    EXPECT_EQ(originator.write(), 0);
    EXPECT_EQ(read_file(store_file(51216)), "111.DebugLevel=1\n");
    EXPECT_EQ(read_file(store_file(58330)), "111.DebugLevel=4\n");
}

TEST_F(UnifiedLoggingWrite, ReturnsTheErrorNumber) {
    write_store("");
    Originator originator(111);
    originator.set_debug_level(4);
    remove_tree(store_file());
    EXPECT_EQ(originator.write(), ENOENT);
    EXPECT_FALSE(exists(store_file()));
}
