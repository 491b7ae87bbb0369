#!/usr/bin/env bash
# Checks that every source is formatted (.clang-format) and that clang-tidy (.clang-tidy) has nothing to say.
set -euo pipefail
cd "$(dirname "$0")/.."

sources=$(git ls-files '*.cpp' '*.h')
# shellcheck disable=SC2086  # names of sources hold no blanks
clang-format-14 --dry-run --Werror $sources
echo "format: clean"

# Without precompiled headers, which are g++'s; nothing is built.
cmake --preset release -B build/lint -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null
units=$(git ls-files '*.cpp')
# Some warnings are g++'s alone.
# shellcheck disable=SC2086
printf '%s\n' $units | xargs -P "$(nproc)" -n 4 \
    clang-tidy-14 -p build/lint --quiet --extra-arg=-Wno-unknown-warning-option 2>/dev/null
echo "clang-tidy: clean"
