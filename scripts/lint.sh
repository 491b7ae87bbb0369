#!/usr/bin/env bash
# Checks the format (.clang-format), the limits of files (scripts/check_limits.sh), the direction of includes
# (scripts/check_includes.py), and the programs' sources with clang-tidy (.clang-tidy). With the argument "tests",
# clang-tidy checks the sources of tests and benchmarks instead, which takes several times as long.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."

git ls-files -z '*.cpp' '*.h' '*.c' | xargs -0 clang-format-14 --dry-run --Werror
echo "format: clean"
scripts/check_limits.sh
scripts/check_includes.py

folders=(agent commands logging_config platform request_command state_command)
if [[ ${1:-} == tests ]]; then
    folders=(tests benchmarks)
fi
# Only configures, without precompiled headers, because clang-tidy cannot read those of g++.
cmake --preset release -B build/lint -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null
# clang-tidy does not know some warning options of g++. Its standard error only counts suppressed warnings.
git ls-files -z "${folders[@]/%//*.cpp}" | xargs -0 -P "$(nproc)" -n 1 \
    clang-tidy-14 -p build/lint --quiet --extra-arg=-Wno-unknown-warning-option 2>/dev/null
echo "clang-tidy: clean"
