// The resource limits of a system service.
#pragma once

#include <sys/resource.h>

#include <array>
#include <cstddef>

// Gives this process the resource limits of a system service while the object lives: no limit for CPU time, memory and
// file size, the usual limits for stack and file descriptors. Where the user may not raise a limit that far, it becomes
// as high as allowed. Other limits are unchanged.
class ServiceLimits {
  public:
    ServiceLimits();
    ServiceLimits(const ServiceLimits&) = delete;
    ServiceLimits& operator=(const ServiceLimits&) = delete;
    ~ServiceLimits();

  private:
    static constexpr std::size_t count = 6;
    std::array<rlimit, count> before_{};
};
