#include "tests/platform/written_debug_log.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "platform/runtime.h"
#include "tests/platform/child_process.h"
#include "tests/support/test_files.h"

std::string debug_log_of(const std::function<void()>& work) {
    const ScratchFolder root;
    const bool succeeded = succeeds_in_child([&] {
        int out = 0;
        ASSERT_NE(open_debug_log(root.path().c_str(), "agent", "agent", 0666, &out), -1);
        work();
    });
    EXPECT_TRUE(succeeded);
    const std::vector<std::string> names = names_in(root.path("agent"));
    EXPECT_EQ(names.size(), 1U);
    return names.size() == 1 ? read_file(root.path("agent/" + names[0])) : "";
}

std::string message_of(const std::string& log) {
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1);
    EXPECT_TRUE(log.ends_with('\n'));
    const std::size_t level = log.find('<');
    if (level == std::string::npos || !log.ends_with('\n')) {
        ADD_FAILURE() << "not a message: " << log.substr(0, 1000);
        return "";
    }
    return log.substr(level, log.size() - level - 1);
}

std::string logged_message(const std::function<void()>& work) {
    return message_of(debug_log_of(work));
}
