// Many requests through a network service: all at once, or one after the other.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <string>
#include <vector>

#include "tests/reliability/load_share.h"
#include "tests/reliability/network_service.h"
#include "tests/reliability/peers.h"
#include "tests/support/product_test.h"

namespace {

using std::chrono::steady_clock;

const std::string request = netstrings({"GETDISKSPACE", "/tmp"});

// The served requests of one run, with their times.
struct Load {
    steady_clock::time_point start = steady_clock::now();
    std::vector<double> milliseconds;
    int failures = 0;

    void add(const Peers& peers) {
        failures += static_cast<int>(peers.size()) - count_with_status(peers, 0);
        for (const Peer& peer : peers) {
            milliseconds.push_back(peer.milliseconds());
        }
    }

    [[nodiscard]] double percentile(int percent) {
        std::sort(milliseconds.begin(), milliseconds.end());
        return milliseconds[(milliseconds.size() - 1) * static_cast<std::size_t>(percent) / 100];
    }

    void print(const std::string& name) {
        const double seconds = std::chrono::duration<double>(steady_clock::now() - start).count();
        const std::string requests = std::to_string(milliseconds.size()) + " requests " + name + ": ";
        print_figure(requests + "failures", failures);
        print_figure(requests + "requests per second", in_tenths(static_cast<double>(milliseconds.size()) / seconds));
        print_figure(requests + "50th percentile, milliseconds", in_tenths(percentile(50)));
        print_figure(requests + "99th percentile, milliseconds", in_tenths(percentile(99)));
    }
};

class UnderLoad : public ProductTest {
  protected:
    // The first requests let the service load what it needs, so that this does not count as growth.
    UnderLoad() {
        for (int i = 0; i < 8; ++i) {
            serve(1);
        }
        service_.await_end_of_agents();
        state_before_ = service_.state();
        memory_before_ = service_.memory();
    }

    // Sends that many requests before it receives an answer.
    Peers serve(int count) {
        Peers peers;
        for (int i = 0; i < count; ++i) {
            peers.emplace_back(service_.connect_as_root());
            peers.back().send(request);
        }
        receive_all(peers);
        return peers;
    }

    void expect_all_as_before(const std::string& name) {
        // Pages that the service shares with its children come and go. A leak in each request would be more than this.
        constexpr long most_growth = 256;
        service_.await_end_of_agents();
        const ServiceState after = service_.state();
        print_figure(name + ": processes before, after", state_before_.processes, after.processes);
        print_figure(name + ": descriptors of the service before, after", state_before_.descriptors_of_service,
                     after.descriptors_of_service);
        print_figure(name + ": memory of the service before, after, KiB", memory_before_, service_.memory());
        EXPECT_EQ(after, state_before_);
        EXPECT_LE(service_.memory(), memory_before_ + most_growth);
        EXPECT_EQ(service_.statuses_of_agents(), std::set<int>{0});
    }

    NetworkService service_;
    ServiceState state_before_;
    long memory_before_ = 0;
};

TEST_F(UnderLoad, ServesEachOfManyRequestsAtOnce) {
    Load load;
    load.add(serve(share(64, 256)));
    load.print("at once");
    EXPECT_EQ(load.failures, 0);
    expect_all_as_before("at once");
}

TEST_F(UnderLoad, ServesEachOfManyRequestsOneAfterTheOther) {
    Load load;
    for (int left = share(1000, 20'000); left > 0; --left) {
        load.add(serve(1));
    }
    load.print("in a row");
    EXPECT_EQ(load.failures, 0);
    expect_all_as_before("in a row");
}

}  // namespace
