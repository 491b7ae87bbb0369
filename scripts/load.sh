#!/usr/bin/env bash
# Builds the release, runs the load tests at full length, with 64 writers and 20,000 requests among others, and prints a
# table of figures. The tests run in private roots and use only their loopback interfaces. Takes about five minutes. The
# whole output is in build/load.log. Options are those of GoogleTest, such as --gtest_filter=TEXT.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."

scripts/install_dependencies.sh build
cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" --target load_tests >/dev/null

if ZMLA_LOAD=long build/release/tests/reliability/load_tests "$@" >build/load.log 2>&1; then
    result=0
else
    result=$?
fi
printf '| %-78s | %18s |\n' 'What' 'Figure'
printf '|%s|%s:|\n' "$(printf '%080d' 0 | tr 0 -)" "$(printf '%019d' 0 | tr 0 -)"
grep '^| ' build/load.log || true
if ((result != 0)); then
    echo "Failed; see build/load.log:" >&2
    grep -A 8 -e ': Failure' -e '^unknown file' -e '^C++ exception' build/load.log >&2 || tail -n 20 build/load.log >&2
fi
exit "$result"
