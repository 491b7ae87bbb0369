#!/usr/bin/env bash
# Measures which branches the tests take: builds with coverage in build/coverage, runs the tests, and prints a table of
# the programs' sources with the totals. build/coverage/branches.txt lists every line with a branch that no test takes.
# Fails when the tests take too few branches.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."

scripts/install_dependencies.sh build coverage
folder=$PWD/build/coverage
# Processes that end with _exit write their counts before, if the program contains the function for it.
cmake -S . -B "$folder" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS='--coverage -fprofile-update=atomic' \
    -DCMAKE_EXE_LINKER_FLAGS=-Wl,--undefined=__gcov_dump >/dev/null
cmake --build "$folder" --parallel "$(nproc)" >"$folder/build.log" 2>&1 || {
    tail -n 40 "$folder/build.log"
    exit 1
}
find "$folder" -name '*.gcda' -delete
# A killed agent writes no counts. Writing counts takes many system calls, too many to kill the agent at each.
excluded=('^reliability\.' FileSafety)
for pattern in "${excluded[@]}"; do
    if ctest --test-dir "$folder" --show-only --tests-regex "$pattern" | grep 'Total Tests: 0'; then
        echo "coverage.sh: no test matches $pattern" >&2
        exit 1
    fi
done
(cd "$folder" && ctest --parallel "$(nproc)" --output-on-failure -E "$(IFS='|' && echo "${excluded[*]}")" >tests.log) || {
    tail -n 60 "$folder/tests.log"
    exit 1
}
# Only tests that are left out here run the agent with failing allocations.
gcovr --root . --object-directory "$folder" --filter '(agent|commands|logging_config|platform|request_command)/' \
    --gcov-ignore-parse-errors --exclude-unreachable-branches \
    --exclude-directories '.*/(CompilerIdC(XX)?|reliability)$' \
    --json "$folder/branches.json" "$folder" 2>"$folder/gcovr.log" || {
    cat "$folder/gcovr.log"
    exit 1
}
python3 scripts/count_branches.py "$folder/branches.json" "$folder/branches.txt"
