#!/usr/bin/env bash
# Builds the release and runs every test program as a whole, several at once. This is for daily work: scripts/test.sh
# uses CTest, which starts a process for each test and takes four times as long. Arguments select programs by their
# names: scripts/quick_test.sh unit_tests platform_tests
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" >/dev/null
programs=()
while read -r program; do
    if (($# == 0)) || [[ " $* " == *" $(basename "$program") "* ]]; then
        programs+=("$program")
    fi
done < <(find build/release/tests -name '*_tests' -type f -perm -u+x | sort)
if ((${#programs[@]} == 0)); then
    echo "No test program has such a name: $*" >&2
    exit 2
fi
printf '%s\0' "${programs[@]}" | xargs --null --max-procs="$(nproc)" --replace sh -c '
    "$PWD/{}" --gtest_brief=1 >"{}.log" 2>&1 || { cat "{}.log"; exit 1; }
    echo "$(basename "{}"): $(tail -n 1 "{}.log")"'
