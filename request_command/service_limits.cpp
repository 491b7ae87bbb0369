#include "request_command/service_limits.h"

#include <algorithm>

namespace {

struct ServiceLimit {
    decltype(RLIMIT_CPU) resource;
    rlim_t soft;
};

constexpr std::array limits = {
    ServiceLimit{RLIMIT_CPU, RLIM_INFINITY},    ServiceLimit{RLIMIT_FSIZE, RLIM_INFINITY},
    ServiceLimit{RLIMIT_DATA, RLIM_INFINITY},   ServiceLimit{RLIMIT_AS, RLIM_INFINITY},
    ServiceLimit{RLIMIT_STACK, 8192UL * 1024U}, ServiceLimit{RLIMIT_NOFILE, 1024},
};

}  // namespace

ServiceLimits::ServiceLimits() {
    static_assert(limits.size() == count);
    for (std::size_t i = 0; i != count; ++i) {
        getrlimit(limits[i].resource, &before_[i]);
        const rlim_t soft = limits[i].soft;
        const rlimit wanted = {.rlim_cur = soft, .rlim_max = std::max(soft, before_[i].rlim_max)};
        const rlimit allowed = {.rlim_cur = std::min(soft, before_[i].rlim_max), .rlim_max = before_[i].rlim_max};
        if (setrlimit(limits[i].resource, &wanted) == -1) {
            setrlimit(limits[i].resource, &allowed);
        }
    }
}

ServiceLimits::~ServiceLimits() {
    for (std::size_t i = 0; i != count; ++i) {
        setrlimit(limits[i].resource, &before_[i]);
    }
}
