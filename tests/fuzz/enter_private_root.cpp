// A fuzzer runs in a private root, because the fuzzed code has fixed paths.
#include <cstdio>
#include <exception>

#include "tests/support/private_root.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

// Only once: processes that a fuzzer starts share its root and its temporary files.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    try {
        if (!in_private_root()) {
            enter_private_root();
        }
    } catch (const std::exception& failure) {
        fprintf(stderr, "%s\n", failure.what());
        exit(1);
    }
    return 0;
}
