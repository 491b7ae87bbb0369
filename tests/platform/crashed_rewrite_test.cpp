// A rewrite that is killed at each of its system calls.
#include <gtest/gtest.h>

#include <string>

#include "tests/platform/rewritten_file.h"
#include "tests/support/test_files.h"
#include "tests/support/traced_process.h"

class CrashedRewrite : public RewriteTest {
  protected:
    // Kills the change at this stop. Returns false when the change ended before it.
    [[nodiscard]] bool crash_at(int stop) const {
        const Change change = GetParam().prepare();
        TracedProcess traced([&] { return change() == 0 ? 0 : 1; });
        for (int i = 0; i < stop; ++i) {
            if (!traced.step()) {
                EXPECT_TRUE(traced.succeeded());
                return false;
            }
        }
        traced.kill();
        return true;
    }
};
FOR_EACH_REWRITTEN_FILE(CrashedRewrite);

TEST_P(CrashedRewrite, LeavesTheOldOrTheNewTextAndOnlyFilesThatTheNextRewriteRemoves) {
    int old_texts = 0;
    int new_texts = 0;
    write_file(GetParam().path, GetParam().before);
    for (int stop = 1; crash_at(stop); ++stop) {
        SCOPED_TRACE("killed at stop " + std::to_string(stop));
        const std::string text = read_file(GetParam().path);
        old_texts += text == GetParam().before ? 1 : 0;
        new_texts += text == GetParam().after ? 1 : 0;
        EXPECT_TRUE(text == GetParam().before || text == GetParam().after) << text;
        EXPECT_EQ(GetParam().add_entry(1), 0);
        expect_text(text + GetParam().entry_line(1));
        expect_nothing_left_behind();
        write_file(GetParam().path, GetParam().before);
        remove_tree(GetParam().lock());
    }
    expect_rewritten();
    EXPECT_GT(old_texts, 20);
    EXPECT_GT(new_texts, 2);
}

// The next rewrite does not use the text of the killed one.
TEST_P(CrashedRewrite, LeavesNothingThatTheNextRewriteReuses) {
    for (int stop = 1; crash_at(stop); ++stop) {
        write_file(GetParam().path, "# other\n");
        EXPECT_EQ(GetParam().add_entry(2), 0);
        expect_text("# other\n" + GetParam().entry_line(2));
        write_file(GetParam().path, GetParam().before);
    }
    expect_rewritten();
}
