// Reading the unified logging store, and the levels of a handle.
#include "platform/unified_logging.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <string>

#include "tests/platform/child_process.h"
#include "tests/platform/stored_levels.h"
#include "tests/support/product_test.h"
#include "tests/support/test_files.h"

namespace {

using namespace std::string_literals;

struct StoredLevels {
    std::string store;
    unsigned long originator;
    int debug;
    int diagnostic;
};

const StoredLevels readable[] = {
    {"", 111, none, none},
    {"111.DebugLevel=3\n111.DiagnosticLevel=4\n", 111, 3, 4},
    {"111.DiagnosticLevel=4\n111.DebugLevel=3", 111, 3, 4},
    {"111.DebugLevel=3\n", 111, 3, none},
    {"111.DiagnosticLevel=4\n", 111, none, 4},
    // A missing level is that of originator 112.
    {"112.DebugLevel=1\n112.DiagnosticLevel=6\n", 111, 1, 6},
    {"112.DebugLevel=1\n112.DiagnosticLevel=6\n111.DebugLevel=5\n", 111, 5, 6},
    {"112.DebugLevel=1\n112.DiagnosticLevel=6\n111.DiagnosticLevel=2\n", 111, 1, 2},
    {"112.DiagnosticLevel=6\n", 111, none, 6},
    {"112.DebugLevel=1\n112.DiagnosticLevel=6\n", 112, 1, 6},
    // Other originators do not count.
    {"113.DebugLevel=1\n113.DiagnosticLevel=6\n", 111, none, none},
    {"1111.DebugLevel=1\n11.DebugLevel=2\n1.DebugLevel=3\n", 111, none, none},
    // The first of several entries of one kind counts.
    {"111.DebugLevel=3\n111.DebugLevel=4\n", 111, 3, none},
    {"112.DebugLevel=3\n112.DebugLevel=4\n", 111, 3, none},
    {"111.DebugLevel=0\n112.DebugLevel=4\n111.DebugLevel=5\n", 111, 0, none},
    // Any number.
    {"111.DebugLevel=-1\n111.DiagnosticLevel=7\n", 111, -1, 7},
    {"111.DebugLevel=2147483647\n111.DiagnosticLevel=-2147483648\n", 111, INT_MAX, INT_MIN},
    {"112.DebugLevel=99\n", 111, 99, none},
    {"111.DebugLevel=007\n111.DiagnosticLevel=-007\n", 111, 7, -7},
    {"111.DebugLevel=-0\n112.DebugLevel=4\n", 111, 0, none},
    // Any originator.
    {"0.DebugLevel=3\n", 0, 3, none},
    {"4294967295.DebugLevel=3\n", 4294967295UL, 3, none},
    // Lines that are not entries.
    {"# 111.DebugLevel=3\n#111.DebugLevel=3\n", 111, none, none},
    {" 111.DebugLevel=3\n\t111.DebugLevel=3\n", 111, none, none},
    {"111.DebugLevel =3\n111 .DebugLevel=3\n111. DebugLevel=3\n", 111, none, none},
    {"111.debuglevel=3\n111.DEBUGLEVEL=3\n111.diagnosticlevel=3\n", 111, none, none},
    {"0111.DebugLevel=3\n+111.DebugLevel=3\n0x6f.DebugLevel=3\n", 111, none, none},
    {"111.DebugLevel\n111.DebugLevel:3\n111DebugLevel=3\n111.DebugLevels=3\n111.=3\n", 111, none, none},
    {"111.Debug=3\n111.DiagLevel=3\nDebugLevel=3\n111,DebugLevel=3\n", 111, none, none},
    {"\0"
     "111.DebugLevel=3\n\xff\n\n\r\n111.DebugLevel=4\n"s,
     111, 4, none},
    {"x111.DebugLevel=3\n51216.111.DebugLevel=3\n", 111, none, none},
    // Bad entries of others.
    {"113.DebugLevel=x\n111.DebugLevel=3\n1111.DebugLevel=\n", 111, 3, none},
    // A bad default counts as none.
    {"112.DebugLevel=x\n112.DiagnosticLevel=6\n", 111, none, 6},
    {"112.DebugLevel=\n112.DiagnosticLevel=2147483648\n", 111, none, none},
    {"112.DebugLevel=1 \n112.DiagnosticLevel=6\r\n", 111, none, none},
    {"112.DebugLevel=x\n111.DebugLevel=2\n", 111, 2, none},
    {"112.DebugLevel=+1\n112.DiagnosticLevel=6\n", 111, none, 6},
    // Also the first of two.
    {"112.DebugLevel=x\n112.DebugLevel=3\n", 111, none, none},
    {"112.DebugLevel=3\n112.DebugLevel=x\n", 111, 3, none},
};

// Each text has an entry of originator 111 that is not a signed 32-bit number.
const std::string unreadable[] = {
    "111.DebugLevel=\n",
    "111.DebugLevel=x\n",
    "111.DebugLevel=3x\n",
    "111.DebugLevel= 3\n",
    "111.DebugLevel=3 \n",
    "111.DebugLevel=3\r\n",
    "111.DebugLevel==3\n",
    "111.DebugLevel=-\n",
    "111.DebugLevel=0x3\n",
    "111.DebugLevel=3.0\n",
    "111.DebugLevel=+3\n",
    "111.DebugLevel=+0\n",
    "111.DebugLevel=2147483648\n",
    "111.DebugLevel=-2147483649\n",
    "111.DebugLevel=99999999999999999999\n",
    "111.DebugLevel=3\0\n"s,
    "111.DiagnosticLevel=x\n",
    "111.DiagnosticLevel=",
    "111.DebugLevel=3\n111.DiagnosticLevel=x\n",
    "111.DebugLevel=x\n111.DiagnosticLevel=3\n",
    "111.DebugLevel=x\n111.DebugLevel=3\n",
    "111.DebugLevel=3\n111.DebugLevel=x\n",
    "112.DebugLevel=3\n112.DiagnosticLevel=3\n111.DebugLevel=x\n",
};

}  // namespace

class UnifiedLogging : public ProductTest {};

TEST_F(UnifiedLogging, ReturnsTheEffectiveLevels) {
    for (const StoredLevels& row : readable) {
        write_store(row.store);
        const Originator originator(row.originator);
        ASSERT_EQ(originator.status(), 0) << testing::PrintToString(row.store);
        EXPECT_EQ(originator.debug_level(), row.debug) << testing::PrintToString(row.store);
        EXPECT_EQ(originator.diagnostic_level(), row.diagnostic) << testing::PrintToString(row.store);
    }
}

TEST_F(UnifiedLogging, CannotBeReadWithABadEntryOfTheOriginator) {
    for (const std::string& store : unreadable) {
        write_store(store);
        EXPECT_NE(Originator(111).status(), 0) << testing::PrintToString(store);
        EXPECT_EQ(Originator(113).status(), 0) << testing::PrintToString(store);
    }
}

TEST_F(UnifiedLogging, CannotReadTheDefaultOriginatorWithABadEntryOfItsOwn) {
    write_store("112.DebugLevel=x\n");
    EXPECT_NE(Originator(112).status(), 0);
    EXPECT_EQ(Originator(111).status(), 0);
}

TEST_F(UnifiedLogging, CannotBeReadWithoutTheProductsFile) {
    EXPECT_NE(Originator(111).status(), 0);
    write_store("111.DebugLevel=3\n", 58330);
    EXPECT_NE(Originator(111).status(), 0);
    EXPECT_EQ(Originator(111, 58330).status(), 0);
    remove_tree("/usr/kumel/ktul");
    EXPECT_NE(Originator(111, 58330).status(), 0);
}

TEST_F(UnifiedLogging, CannotBeReadFromAFolder) {
    make_folder(store_file());
    EXPECT_NE(Originator(111).status(), 0);
}

// Nobody writes to the FIFO, so reading it like a file would wait forever.
TEST_F(UnifiedLogging, HasNoLevelsWhenItsFileIsAFifo) {
    ASSERT_EQ(mkfifo(store_file().c_str(), 0600), 0);
    EXPECT_EQ(Originator(111).status(), 0);
    EXPECT_EQ(Originator(111).debug_level(), none);
}

TEST_F(UnifiedLogging, CannotBeReadWithoutPermission) {
    write_store("111.DebugLevel=3\n");
    set_mode(store_file(), 0);
    EXPECT_TRUE(succeeds_in_child([] {
        give_up_file_rights();
        EXPECT_NE(Originator(111).status(), 0);
    }));
}

TEST_F(UnifiedLogging, ReturnsNoHandleWhenItCannotBeRead) {
    holkLogCfg* handle = nullptr;
    EXPECT_NE(holkLogReadCfg(default_product, 111, &handle), 0);
    EXPECT_EQ(handle, nullptr);
    holkLogFreeCfg(handle);
}

TEST_F(UnifiedLogging, KeepsOneFilePerProduct) {
    for (const long product : {51216L, 58330L, 60385L}) {
        write_store("111.DebugLevel=" + std::to_string(product % 7) + "\n", product);
    }
    for (const long product : {51216L, 58330L, 60385L}) {
        EXPECT_EQ(Originator(111, product).debug_level(), product % 7);
    }
}

TEST_F(UnifiedLogging, IsNotWrittenByReading) {
    write_store("no entry\n111.DebugLevel=3");
    { const Originator originator(111); }
    EXPECT_EQ(read_file(store_file()), "no entry\n111.DebugLevel=3");
    EXPECT_EQ(names_in("/usr/kumel/ktul"), std::vector<std::string>{"51216.conf"});
}

TEST_F(UnifiedLogging, AcceptsLevelsFrom0To6) {
    write_store("");
    Originator originator(111);
    for (int level = 0; level <= 6; ++level) {
        EXPECT_EQ(originator.set_debug_level(level), 0);
        EXPECT_EQ(originator.set_diagnostic_level(6 - level), 0);
        EXPECT_EQ(originator.debug_level(), level);
        EXPECT_EQ(originator.diagnostic_level(), 6 - level);
    }
}

TEST_F(UnifiedLogging, RejectsOtherLevels) {
    write_store("111.DebugLevel=3\n111.DiagnosticLevel=4\n");
    Originator originator(111);
    for (const int level : {-1, 7, 8, 10, 255, 256, INT_MAX, INT_MIN}) {
        EXPECT_EQ(originator.set_debug_level(level), 22) << level;
        EXPECT_EQ(originator.set_diagnostic_level(level), EINVAL) << level;
    }
    EXPECT_EQ(originator.debug_level(), 3);
    EXPECT_EQ(originator.diagnostic_level(), 4);
    EXPECT_EQ(originator.write(), 0);
    EXPECT_EQ(read_file(store_file()), "111.DebugLevel=3\n111.DiagnosticLevel=4\n");
}

TEST_F(UnifiedLogging, ReturnsTheDefaultForARemovedLevel) {
    write_store("111.DebugLevel=3\n111.DiagnosticLevel=4\n112.DebugLevel=1\n");
    Originator originator(111);
    EXPECT_EQ(originator.remove(holk_debug_level_setting), 0);
    EXPECT_EQ(originator.debug_level(), 1);
    EXPECT_EQ(originator.diagnostic_level(), 4);
    EXPECT_EQ(originator.remove(holk_diagnostic_level_setting), 0);
    EXPECT_EQ(originator.diagnostic_level(), none);
}

TEST_F(UnifiedLogging, MayRemoveALevelThatIsNotSet) {
    write_store("");
    Originator originator(111);
    for (const int mask : {32, 64, 96, 0}) {
        EXPECT_EQ(originator.remove(mask), 0) << mask;
    }
    EXPECT_EQ(originator.write(), 0);
    EXPECT_EQ(read_file(store_file()), "");
}
