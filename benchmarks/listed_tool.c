/*
 * listed_tool: a stand-in for the support utility that costs next to nothing. It leaves as its output the folder that
 * has been prepared for it, by moving that to the name that its last argument gives.
 */
#include <stdio.h>

int main(int argc, char** argv) {
    return rename("/tmp/packages", argv[argc - 1]) == 0 ? 0 : 1;
}
