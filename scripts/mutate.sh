#!/usr/bin/env bash
# Makes small mistakes in sources, one at a time, and counts those that the tests catch: tests/mutation/mutate.py tells
# how. Works on a copy of the sources in build/mutation, on one processor and at low priority.
#
#   scripts/mutate.sh [--every N] [--survivors] [FILE ...]
#
# Without files those are taken in which a mistake matters most; any other of the agent and the library but
# agent/main.cpp can be named. --every N takes every N-th mutant of each file, --survivors those alone that survived the
# last time or are new. Prints, for each file, the share of mutants that was caught, and every one that survived.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install_dependencies.sh build
folder=$PWD/build/mutation
mkdir -p "$folder/tree"
# With their times, so that a second run builds what has changed alone.
tar --create --exclude-vcs --exclude='./build' --exclude='./build-*' . | tar --extract --directory "$folder/tree"
# Debug, for nothing is to be optimised.
nice -n 5 cmake -G 'Unix Makefiles' -S "$folder/tree" -B "$folder/build" -DCMAKE_BUILD_TYPE=Debug >/dev/null
nice -n 5 cmake --build "$folder/build" --parallel 1 --target zmlogadmagent unit_tests platform_tests end_to_end_tests \
    logging_end_to_end_tests >"$folder/build.log" || {
    tail -n 40 "$folder/build.log"
    exit 1
}
exec nice -n 5 python3 tests/mutation/mutate.py "$folder/tree" "$folder/build" "$@"
