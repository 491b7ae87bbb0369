// The unified logging store and one originator of it.
#pragma once

#include <climits>
#include <memory>
#include <string>

#include "platform/unified_logging.h"
#include "tests/support/test_files.h"

inline constexpr long default_product = 51216;

// Means that there is no level. No test uses this number as a level.
inline constexpr int none = -4711;

inline std::string store_file(long product = default_product) {
    return "/usr/kumel/ktul/" + std::to_string(product) + ".conf";
}

inline void write_store(const std::string& text, long product = default_product) {
    write_file(store_file(product), text);
}

// The configuration of an originator as it was read.
class Originator {
  public:
    explicit Originator(unsigned long number, long product = default_product) : product_(product), number_(number) {
        holkLogCfg* handle = nullptr;
        status_ = holkLogReadCfg(product, number, &handle);
        handle_.reset(handle);
    }

    [[nodiscard]] int status() const { return status_; }

    [[nodiscard]] int debug_level() const {
        int level = none;
        const int status = holkLogCfgGetDebugLevel(handle_.get(), &level);
        return status == 0 ? level : INT_MIN;
    }

    [[nodiscard]] int diagnostic_level() const {
        int level = none;
        const int status = holkLogCfgGetDiagLevel(handle_.get(), &level);
        return status == 0 ? level : INT_MIN;
    }

    int set_debug_level(int level) { return holkLogCfgSetDebugLevel(handle_.get(), level); }
    int set_diagnostic_level(int level) { return holkLogCfgSetDiagLevel(handle_.get(), level); }
    int remove(int mask) { return holkLogCfgRemoveSettings(handle_.get(), mask); }
    [[nodiscard]] int write() const { return holkLogWriteCfg(product_, number_, handle_.get()); }

  private:
    struct Release {
        void operator()(holkLogCfg* handle) const { holkLogFreeCfg(handle); }
    };

    long product_;
    unsigned long number_;
    int status_ = 0;
    std::unique_ptr<holkLogCfg, Release> handle_;
};
