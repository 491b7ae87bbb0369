// What the tests of the agent share.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/agent_connection.h"
#include "tests/support/failing_calls.h"
#include "tests/support/log_line.h"
#include "tests/support/recording_platform.h"
#include "tests/support/test_files.h"
#include "tests/unit/system_calls.h"

using failing_calls::always;
using failing_calls::always_after;
using failing_calls::failures;
using recording_platform::script;
using system_calls::overrides;

using Lines = std::vector<LogLine>;
using Texts = std::vector<std::string>;

// A test that starts with a fresh platform library and expects that everything of the library is released.
class AgentTest : public ::testing::Test {
  protected:
    AgentTest();
    ~AgentTest() override;
};

// A test that starts without the fixed paths of the product: /usr/kumel, /opt/HOLKkob and /etc/rkregistry.cfg.
class ProductPathTest : public AgentTest {
  protected:
    ProductPathTest();
};

// Returns the number that the next opened descriptor will get.
int next_descriptor();

// Calls a function whose child processes must exit. Ends a child that returns instead.
template <typename Function>
int call_that_forks(Function function);

// Runs the function in a child process. Returns its exit status, or -1 when a signal ended it.
template <typename Function>
int run_in_child(Function function);

// Helpers of the two functions above.
namespace children {
int start();
int wait(int child);
[[noreturn]] void end(int status);
void end_unless(int process);
int current();
}  // namespace children

template <typename Function>
int call_that_forks(Function function) {
    const int process = children::current();
    const int result = function();
    children::end_unless(process);
    return result;
}

template <typename Function>
int run_in_child(Function function) {
    const int child = children::start();
    if (child == 0) {
        children::end(function());
    }
    return children::wait(child);
}
