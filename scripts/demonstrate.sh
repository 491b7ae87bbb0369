#!/usr/bin/env bash
# Demonstrates the agent: installs missing packages, builds the agent, makes a sample product in a private root, and
# sends requests of every kind. Shows each request with its answer, the changed files and the debug log. Leaves only the
# build folder and the packages on the host. Fails when a result differs from the expected one.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."

scripts/install_dependencies.sh build
echo "Building the agent and zmlogadm"
cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" --target zmlogadmagent zmlogadm in_private_root >/dev/null
exec build/release/tests/support/in_private_root bash demonstration/inside.sh build/release/zmlogadmagent \
    build/release/zmlogadm
