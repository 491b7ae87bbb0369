#!/usr/bin/env bash
# Measures which branches the tests take: builds with coverage in build/coverage, runs the tests of the agent's functions,
# of the library, of the command and of the agent as it is, and prints a table of the programs' sources. Every line with
# a branch that no test takes is listed in build/coverage/branches.txt.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install_dependencies.sh build coverage
folder=$PWD/build/coverage
cmake -S . -B "$folder" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS='--coverage -fprofile-update=atomic' >/dev/null
cmake --build "$folder" --parallel "$(nproc)" >"$folder/build.log" || {
    tail -n 40 "$folder/build.log"
    exit 1
}
find "$folder" -name '*.gcda' -delete
# Agents that are killed write no counts down, and with counts to write they make too many calls to be killed at each.
(cd "$folder" && ctest --parallel "$(nproc)" --output-on-failure -E '^reliability\.|FileSafety' >tests.log) || {
    tail -n 60 "$folder/tests.log"
    exit 1
}
# Branches that the compiler makes for exceptions, which these programs do not catch, are left out.
gcovr --root . --object-directory "$folder" --filter '(agent|commands|logging_config|platform|request_command)/' \
    --gcov-ignore-parse-errors --exclude-throw-branches --exclude-unreachable-branches --branches --txt "$folder/branches.txt" \
    --json-summary "$folder/summary.json" "$folder"
cat "$folder/branches.txt"
