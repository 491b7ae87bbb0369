#!/usr/bin/env bash
# Builds the release and runs every test program as a whole, several at once. This is for daily work: scripts/test.sh
# uses CTest, which starts a process for each test and takes four times as long. Arguments select programs by their
# names: scripts/quick_test.sh unit_tests platform_tests
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
. scripts/shared_steps.sh

cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" >/dev/null
programs=$(test_programs build/release)
if (($# > 0)); then
    selected=()
    for name; do
        program=$(grep "/$name\$" <<<"$programs") || {
            printf 'No test program is called %s; there are:\n%s\n' "$name" "$(sed 's|.*/||' <<<"$programs")" >&2
            exit 2
        }
        selected+=("$program")
    done
    programs=$(printf '%s\n' "${selected[@]}")
fi
xargs --max-procs="$(nproc)" --replace sh -c '
    "{}" --gtest_brief=1 >"{}.log" 2>&1 || { cat "{}.log"; exit 1; }
    echo "$(basename "{}"): $(tail -n 1 "{}.log")"' <<<"$programs"
