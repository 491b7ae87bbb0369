// System calls for AgentOptions::refused_calls, with all numbers that this processor has for each. Some processors have
// another number for large files, and some have no fork.
#pragma once

#include <sys/syscall.h>

#include <vector>

#include "tests/support/agent_runner.h"

namespace refused_calls {

// The call fails as `refusal` describes; its number is ignored.
inline std::vector<RefusedCall> by_any_number(const std::vector<long>& numbers, RefusedCall refusal) {
    std::vector<RefusedCall> calls;
    for (const long number : numbers) {
        refusal.number = number;
        calls.push_back(refusal);
    }
    return calls;
}

inline std::vector<RefusedCall> fcntl(RefusedCall refusal) {
    return by_any_number(
        {
            SYS_fcntl,
#ifdef SYS_fcntl64
            SYS_fcntl64,
#endif
        },
        refusal);
}

inline std::vector<RefusedCall> fork(RefusedCall refusal) {
    return by_any_number(
        {
            SYS_clone,
            SYS_clone3,
#ifdef SYS_fork
            SYS_fork,
            SYS_vfork,
#endif
        },
        refusal);
}

inline std::vector<RefusedCall> statfs(RefusedCall refusal) {
    return by_any_number(
        {
            SYS_statfs,
#ifdef SYS_statfs64
            SYS_statfs64,
#endif
        },
        refusal);
}

}  // namespace refused_calls
