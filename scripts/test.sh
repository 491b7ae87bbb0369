#!/usr/bin/env bash
# Installs missing packages, builds everything and runs all tests. The argument is a preset (default: release):
# scripts/test.sh sanitizers
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
preset=${1:-release}

scripts/install_dependencies.sh build
cmake --preset "$preset"
cmake --build --preset "$preset" --parallel "$(nproc)"
ctest --preset "$preset" --parallel "$(nproc)"
