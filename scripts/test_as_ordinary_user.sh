#!/usr/bin/env bash
# Runs the tests of the release build as the user nobody, who gets a private root through a user namespace. Needs root,
# to become nobody. Leaves out the loops of failing calls, which take long and do not depend on the user.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
. scripts/shared_steps.sh

scripts/install_dependencies.sh build
cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" >/dev/null
test_programs build/release --label-exclude '^faults$' | xargs --max-procs="$(nproc)" --replace sh -c '
    setpriv --reuid=65534 --regid=65534 --clear-groups --bounding-set=-all "{}" --gtest_brief=1 >"{}.log" 2>&1 ||
        { cat "{}.log"; exit 1; }
    echo "$(basename "{}"): $(tail -n 1 "{}.log")"'
