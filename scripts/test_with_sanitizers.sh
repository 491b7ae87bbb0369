#!/usr/bin/env bash
# Builds with AddressSanitizer and UndefinedBehaviorSanitizer and runs every test program as a whole, which is much
# quicker than test by test. Stopping the agent at each system call, and failing each, is left out: there it has too many,
# of the sanitizers.
# An argument names another folder to build in than build/sanitizers. In that of a release build the tests' own objects,
# which are the same in both, are not built again.
set -euo pipefail
cd "$(dirname "$0")/.."
folder=${1:-build/sanitizers}

scripts/install_dependencies.sh build
cmake --preset sanitizers -B "$folder" >/dev/null
cmake --build "$folder" --parallel "$(nproc)"
# The two longest first.
programs=("$folder/tests/end_to_end/logging/logging_end_to_end_tests" "$folder/tests/end_to_end/end_to_end_tests")
while read -r program; do
    [[ " ${programs[*]} " == *" $program "* ]] || programs+=("$program")
done < <(find "$folder/tests" -name '*_tests' ! -name reliability_tests ! -name load_tests -type f -perm -u+x | sort)
printf '%s\0' "${programs[@]}" | xargs --null --max-procs="$(nproc)" --replace \
    sh -c '"$(realpath {})" --gtest_brief=1 --gtest_filter="-*FileSafety*:*SwappedForALink*" >"{}.log" 2>&1 ||
               { cat "{}.log"; exit 1; }
           echo "{}:"; tail -n 1 "{}.log"'
