// in_private_root COMMAND [ARGUMENT ...]: becomes the command, in a private root.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <exception>

#include "tests/support/private_root.h"

int main(int argc, char** argv) {
    if (argc < 2) {
        fprintf(stderr, "Usage: in_private_root COMMAND [ARGUMENT ...]\n");
        return 2;
    }
    try {
        enter_private_root();
    } catch (const std::exception& failure) {
        fprintf(stderr, "in_private_root: %s\n", failure.what());
        return 125;
    }
    execvp(argv[1], argv + 1);
    fprintf(stderr, "in_private_root: %s: %s\n", argv[1], strerror(errno));
    return 127;
}
