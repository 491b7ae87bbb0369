// Looks names up and collects the addresses.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "platform/library/name_lookup.h"
#include "tests/platform/system_calls.h"
#include "tests/support/product_test.h"

using Texts = std::vector<std::string>;

struct Found {
    platform_library::LookUpEnd end = platform_library::LookUpEnd::not_started;
    Texts addresses;  // each once
};

inline constexpr std::chrono::seconds long_time{100};
inline constexpr std::chrono::seconds short_time{1};

// Looks the names up until the `wanted` address is found.
inline Found find(const Texts& names, std::chrono::seconds time = long_time, const std::string& wanted = "") {
    Found found;
    found.end = platform_library::look_up(names, Clock::now() + time, [&](const platform_library::Address& address) {
        const std::string text = to_text(address);
        if (std::find(found.addresses.begin(), found.addresses.end(), text) == found.addresses.end()) {
            found.addresses.push_back(text);
        }
        return text == wanted;
    });
    return found;
}

class NameLookUp : public ProductTest {
  protected:
    ~NameLookUp() override {
        system_calls::reset();
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child was not waited for";
    }
};
