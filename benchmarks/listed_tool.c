/*
 * listed_tool: a stand-in for the support utility that costs next to nothing. Its output is a folder that was prepared
 * before, and that it renames to the name in its last argument.
 */
#include <stdio.h>

int main(int argc, char** argv) {
    return rename("/tmp/packages", argv[argc - 1]) == 0 ? 0 : 1;
}
