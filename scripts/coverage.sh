#!/usr/bin/env bash
# Measures which branches the tests take: builds with coverage in build/coverage, runs the tests of the agent's
# functions, of the library, of the command and of the agent as it is, and prints a table of the programs' sources with
# the totals. Every line with a branch that no test takes is listed in build/coverage/branches.txt. Fails when the tests
# take too few.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install_dependencies.sh build coverage
folder=$PWD/build/coverage
# Processes that end with _exit write their counts down before, where they find the function for it.
cmake -S . -B "$folder" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS='--coverage -fprofile-update=atomic' \
    -DCMAKE_EXE_LINKER_FLAGS=-Wl,--undefined=__gcov_dump >/dev/null
cmake --build "$folder" --parallel "$(nproc)" >"$folder/build.log" 2>&1 || {
    tail -n 40 "$folder/build.log"
    exit 1
}
find "$folder" -name '*.gcda' -delete
# Agents that are killed write no counts down, and with counts to write they make too many calls to be killed at each.
(cd "$folder" && ctest --parallel "$(nproc)" --output-on-failure -E '^reliability\.|FileSafety' >tests.log) || {
    tail -n 60 "$folder/tests.log"
    exit 1
}
# The agent that runs short of memory is for the tests that are left out.
gcovr --root . --object-directory "$folder" --filter '(agent|commands|logging_config|platform|request_command)/' \
    --gcov-ignore-parse-errors --exclude-unreachable-branches \
    --exclude-directories '.*/(CompilerIdC(XX)?|reliability)$' \
    --json "$folder/branches.json" "$folder" 2>"$folder/gcovr.log" || {
    cat "$folder/gcovr.log"
    exit 1
}
python3 scripts/count_branches.py "$folder/branches.json" "$folder/branches.txt"
