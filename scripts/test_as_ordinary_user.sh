#!/usr/bin/env bash
# Runs the tests of the release build as the user nobody, who gets a private root through a user namespace. Needs root,
# to become nobody, and a release build.
set -euo pipefail
cd "$(dirname "$0")/.."

for tests in unit_tests platform_tests request_command_tests end_to_end_tests; do
    program=$(find build/release/tests -name "$tests" -type f)
    setpriv --reuid=65534 --regid=65534 --clear-groups --bounding-set=-all "$PWD/$program" --gtest_brief=1
done
