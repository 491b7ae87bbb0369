// What has to hold for every input.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace fuzzing {

// The file that the input came from, when there is one.
inline const char* input_name = nullptr;

[[noreturn]] inline void fail(const char* condition, const char* file, int line) {
    fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    if (input_name != nullptr) {
        fprintf(stderr, "Input: %s\n", input_name);
    }
    abort();
}

}  // namespace fuzzing

// A macro, so that the report shows the condition; and not assert(), for it counts in every build.
#define INVARIANT(condition) ((condition) ? void() : fuzzing::fail(#condition, __FILE__, __LINE__))
