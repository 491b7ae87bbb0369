// Timeouts and interruptions of framed reads. Most tests control the clock.
#include <sys/socket.h>

#include <chrono>
#include <csignal>
#include <string>

#include "platform/main_configuration.h"
#include "platform/network.h"
#include "tests/platform/child_process.h"
#include "tests/platform/framed_value.h"
#include "tests/support/failing_calls.h"
#include "tests/support/product_test.h"
#include "tests/support/test_files.h"

using failing_calls::failures;
using failing_calls::times;
using std::chrono::seconds;
using system_calls::overrides;

namespace {

class FramingTime : public FramingTest {
  protected:
    // The peer sends one byte of the text per second, while the reader waits, and then closes.
    void send_a_byte_a_second(const std::string& text) {
        overrides.steady_time = std::chrono::nanoseconds(0);
        overrides.instead_of_waiting = [this, text, next = 0U]() mutable {
            *overrides.steady_time += seconds(1);
            if (next == text.size()) {
                close_peer();
            } else {
                send(text.substr(next++, 1));
            }
        };
    }
};

}  // namespace

TEST_F(FramingTime, EndsForAPeerThatSendsNothing) {
    for (const int timeout : {0, 1}) {
        EXPECT_EQ(read_number(socket(), timeout), number_refused(ETIMEDOUT));
        EXPECT_EQ(read_string(socket(), longest_string, timeout), string_refused(ETIMEDOUT));
    }
}

TEST_F(FramingTime, EndsForAPeerThatStopsAnywhere) {
    const std::string whole = "12:GETDISKSPACE,";
    for (std::size_t sent = 0; sent < whole.size(); ++sent) {
        connect_and_send(whole.substr(0, sent));
        EXPECT_EQ(read_string(socket(), longest_string, 0), string_refused(ETIMEDOUT)) << sent << " bytes";
    }
}

TEST_F(FramingTime, IsNotUsedUpWhenThePeerHasClosed) {
    send("12:GET");
    close_peer();
    EXPECT_EQ(read_string(socket(), longest_string, 0), string_refused(ECONNRESET));
}

TEST_F(FramingTime, LimitsTheWholeStringAndNotEachRead) {
    send_a_byte_a_second("4:/tmp,");
    EXPECT_EQ(read_string(socket(), longest_string, 4), string_refused(ETIMEDOUT));
}

TEST_F(FramingTime, LimitsTheWholeNumberAndNotEachRead) {
    send_a_byte_a_second("4:1066,");
    EXPECT_EQ(read_number(socket(), 4), number_refused(ETIMEDOUT));
}

TEST_F(FramingTime, AllowsASlowValueThatArrivesInTime) {
    send_a_byte_a_second("4:/tmp,4:1066,");
    EXPECT_EQ(read_string(socket(), longest_string, 8), string_read("/tmp"));
    EXPECT_EQ(read_number(socket(), 8), number_read(1066));
}

TEST_F(FramingTime, BeginsAgainWithEachValue) {
    send_a_byte_a_second("0:,0:,0:,0:,");
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(read_string(socket(), longest_string, 4), string_read(""));
    }
}

TEST_F(FramingTime, EndsAfterWaitsWithoutBytes) {
    overrides.steady_time = std::chrono::nanoseconds(0);
    overrides.instead_of_waiting = [this] {
        *overrides.steady_time += seconds(1);
        if (*overrides.steady_time > seconds(3)) {
            close_peer();
        }
    };
    EXPECT_EQ(read_string(socket(), longest_string, 3), string_refused(ETIMEDOUT));
    EXPECT_EQ(*overrides.steady_time, seconds(3));
}

TEST_F(FramingTime, DoesNotEndBeforeItsLastMillisecond) {
    overrides.steady_time = std::chrono::nanoseconds(0);
    overrides.instead_of_waiting = [this] {
        if (*overrides.steady_time == std::chrono::nanoseconds(0)) {
            *overrides.steady_time = seconds(3) - std::chrono::nanoseconds(1);
        } else {
            send("4:/tmp,");
        }
    };
    EXPECT_EQ(read_string(socket(), longest_string, 3), string_read("/tmp"));
}

// The longest timeout that the main configuration accepts.
TEST_F(FramingTime, MayBeADay) {
    ChildProcess peer([&] { send("4:/tmp,"); });
    EXPECT_EQ(read_string(socket(), longest_string, 86400), string_read("/tmp"));
    EXPECT_EQ(peer.wait(), 0);
}

TEST_F(FramingTime, ContinuesAfterInterruptedReads) {
    failures["recv"] = times(5, EINTR);
    send("4:/tmp,");
    EXPECT_EQ(read_string(socket()), string_read("/tmp"));
    EXPECT_EQ(failing_calls::reset(), "");
}

TEST_F(FramingTime, ContinuesAfterInterruptedWaits) {
    failures["poll"] = times(5, EINTR);
    overrides.steady_time = std::chrono::nanoseconds(0);
    overrides.instead_of_waiting = [&] {
        EXPECT_EQ(failing_calls::reset(), "");
        send("4:/tmp,");
        close_peer();
    };
    EXPECT_EQ(read_string(socket()), string_read("/tmp"));
}

namespace {

volatile std::sig_atomic_t signals_caught = 0;

}  // namespace

// Real signals, which interrupt every wait.
TEST_F(FramingTime, ContinuesAfterSignals) {
    struct sigaction action {};
    action.sa_handler = [](int) { signals_caught = 1; };
    struct sigaction before {};
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    const pid_t reader = getpid();
    ChildProcess peer([&] {
        for (const char byte : framed(repeated('x', 500))) {
            ASSERT_EQ(kill(reader, SIGUSR1), 0);
            send(std::string(1, byte));
        }
    });
    EXPECT_EQ(read_string(socket()), string_read(repeated('x', 500)));
    EXPECT_EQ(peer.wait(), 0);
    EXPECT_EQ(signals_caught, 1);
    ASSERT_EQ(sigaction(SIGUSR1, &before, nullptr), 0);
}

class LongestNetworkTimeout : public ProductTest {};

TEST_F(LongestNetworkTimeout, IsTheMainConfigurations) {
    struct Timeout {
        const char* configuration;
        int seconds;
    };
    const Timeout rows[] = {
        {"", 300},
        {"NETWORK_TIMEOUT = 1\n", 1},
        {"NETWORK_TIMEOUT = 60\n", 60},
        {"NETWORK_TIMEOUT=299", 299},
        {"\tnetwork_timeout\t=\t45 \r\n", 45},
        {"NETWORK_TIMEOUT = 86400\n", 86400},
        {"NETWORK_TIMEOUT = 86401\n", 300},
        {"NETWORK_TIMEOUT = 0\n", 300},
        {"NETWORK_TIMEOUT = -1\n", 300},
        {"NETWORK_TIMEOUT = 4294967356\n", 300},
        {"NETWORK_TIMEOUT = 99999999999999999999\n", 300},
        {"NETWORK_TIMEOUT =\n", 300},
        {"NETWORK_TIMEOUT = soon\n", 300},
        {"NETWORK_TIMEOUT = 60s\n", 300},
        {"NETWORK_TIMEOUT = 6 0\n", 300},
        {"NETWORK_TIMEOUT = 1.5\n", 300},
        {"# NETWORK_TIMEOUT = 60\n", 300},
        {"NETWORK_TIMEOUT 60\n", 300},
        {"NETWORK_TIMEOUTS = 60\n", 300},
        {"NETWORK_TIMEOUT = 60\nNETWORK_TIMEOUT = 70\n", 60},
        {"NETWORK_TIMEOUT = 0\nNETWORK_TIMEOUT = 70\n", 300},
    };
    for (const Timeout& row : rows) {
        write_file(main_configuration, row.configuration);
        ASSERT_EQ(ZM_read_master_config(), 0);
        EXPECT_EQ(xnet_get_max_timeout(), row.seconds) << row.configuration;
    }
}
