#!/usr/bin/env bash
# Checks that every source is formatted (.clang-format), that includes point down (scripts/check_includes.py), and that
# clang-tidy (.clang-tidy) has nothing to say about the programs' sources; with the argument "tests", about the tests'
# own, which takes several times as long.
set -euo pipefail
cd "$(dirname "$0")/.."

git ls-files -z '*.cpp' '*.h' '*.c' | xargs -0 clang-format-14 --dry-run --Werror
echo "format: clean"
scripts/check_includes.py

folders=(agent commands logging_config platform request_command state_command)
if [[ ${1:-} == tests ]]; then
    folders=(tests benchmarks)
fi
# Without precompiled headers, which are g++'s; nothing is built.
cmake --preset release -B build/lint -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null
# Some warnings are g++'s alone. Standard error only counts the warnings that were suppressed.
git ls-files -z "${folders[@]/%//*.cpp}" | xargs -0 -P "$(nproc)" -n 1 \
    clang-tidy-14 -p build/lint --quiet --extra-arg=-Wno-unknown-warning-option 2>/dev/null
echo "clang-tidy: clean"
