#!/usr/bin/env bash
# Measures whole requests beside a static C program that does the least, one that does all that can be seen, and rm,
# find, ls, df, sed and augtool: builds the release, installing what is missing, and prints times, ratios and counts.
# Options are request_benchmark's own, among them --rounds N, and --only TEXT for some of the comparisons; --help lists
# them. Takes ten minutes.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install_dependencies.sh build benchmark
cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" --target request_benchmark >/dev/null
exec build/release/benchmarks/request_benchmark "$@"
