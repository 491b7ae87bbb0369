#!/usr/bin/env bash
# Makes small mistakes in sources, one at a time, and counts those that the tests catch; tests/mutation/mutate.py
# explains how. Works on a copy of the sources in build/mutation, on one processor and at low priority.
#
#   scripts/mutate.sh [--every N] [--survivors] [FILE ...]
#
# The default files are those where a mistake matters most. Every other source of the agent and the library can be
# named, except agent/main.cpp. --every N takes every N-th mutant of each file, --survivors only mutants that survived
# the last run or are new. Prints the share of caught mutants for each file, and every survivor.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
. scripts/shared_steps.sh

scripts/install_dependencies.sh build
folder=$PWD/build/mutation
# The copies keep their times, so that a second run builds only what has changed.
copy_sources "$folder/tree"
# A debug build compiles faster.
nice -n 5 cmake -G 'Unix Makefiles' -S "$folder/tree" -B "$folder/build" -DCMAKE_BUILD_TYPE=Debug >/dev/null
nice -n 5 cmake --build "$folder/build" --parallel 1 --target zmlogadmagent unit_tests platform_tests end_to_end_tests \
    logging_end_to_end_tests >"$folder/build.log" || {
    tail -n 40 "$folder/build.log"
    exit 1
}
exec nice -n 5 python3 tests/mutation/mutate.py "$folder/tree" "$folder/build" "$@"
