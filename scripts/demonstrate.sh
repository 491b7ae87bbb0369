#!/usr/bin/env bash
# Shows the agent at work: builds it, installing what is missing, makes a sample product in a private root, sends
# requests of every kind, and shows for each what was sent, what came back, what changed and what the debug log says.
# Nothing is left on the host but the build folder. Fails when anything is not what it should be.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install_dependencies.sh build
echo "Building the agent and zmlogadm"
cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" --target zmlogadmagent zmlogadm in_private_root >/dev/null
exec build/release/tests/support/in_private_root bash demonstration/inside.sh build/release/zmlogadmagent \
    build/release/zmlogadm
