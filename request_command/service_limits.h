// Resource limits of a process that nobody's shell has started.
#pragma once

#include <sys/resource.h>

#include <array>
#include <cstddef>

// Gives this process, while the object lives, the resource limits that a system service has: no limit for its time, its
// memory and the size of its files, and the usual ones for its stack and its descriptors. A limit that the user may not
// raise stays as high as it can be. The other limits stay as they are.
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
