// Conditions that every input has to meet.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace fuzzing {

// The file of the input, when there is one.
inline const char* input_name = nullptr;

[[noreturn]] inline void fail(const char* condition, const char* file, int line) {
    fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    if (input_name != nullptr) {
        fprintf(stderr, "Input: %s\n", input_name);
    }
    abort();
}

}  // namespace fuzzing

// A macro, so that the report shows the condition. Unlike assert() it works in every build.
#define INVARIANT(condition) ((condition) ? void() : fuzzing::fail(#condition, __FILE__, __LINE__))
