#!/usr/bin/env bash
# Builds everything and passes all tests, the installing of what is missing included. An argument names another preset
# than release: scripts/test.sh sanitizers
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-release}

scripts/install_dependencies.sh build
cmake --preset "$preset"
cmake --build --preset "$preset" --parallel "$(nproc)"
ctest --preset "$preset" --parallel "$(nproc)"
