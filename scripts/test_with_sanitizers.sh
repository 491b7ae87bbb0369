#!/usr/bin/env bash
# Builds with AddressSanitizer and UndefinedBehaviorSanitizer and runs every test program as a whole, which is much
# quicker than test by test. Leaves out the tests that stop the agent at each system call or fail each: the sanitizers
# make too many calls. The argument is the folder to build in (default: build/sanitizers). In the folder of a release
# build, the tests' own objects are not built again, because both builds have the same ones.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
. scripts/shared_steps.sh
folder=${1:-build/sanitizers}
excluded=('*FileSafety*' '*SwappedForALink*')

scripts/install_dependencies.sh build
cmake --preset sanitizers -B "$folder" >/dev/null
cmake --build "$folder" --parallel "$(nproc)"
test_programs "$folder" >"$folder/test_programs"
while read -r program; do
    list_tests "$program"
done <"$folder/test_programs" | check_patterns "${excluded[@]}"
# The longest programs start first.
filter=-$(IFS=: && echo "${excluded[*]}")
export filter
{
    grep /end_to_end/ "$folder/test_programs"
    grep --invert-match /end_to_end/ "$folder/test_programs"
} | xargs --max-procs="$(nproc)" --replace \
    sh -c '"{}" --gtest_brief=1 --gtest_filter="$filter" >"{}.log" 2>&1 || { cat "{}.log"; exit 1; }
           echo "$(basename "{}"): $(tail -n 1 "{}.log")"'
