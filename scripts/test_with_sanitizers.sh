#!/usr/bin/env bash
# Builds with AddressSanitizer and UndefinedBehaviorSanitizer and runs every test program as a whole, which is much
# quicker than test by test. Leaves out the tests that stop the agent at each system call or fail each: the sanitizers
# make too many calls. The argument is the folder to build in (default: build/sanitizers). In the folder of a release
# build, the tests' own objects are not built again, because both builds have the same ones.
set -euo pipefail
cd "$(dirname "$0")/.."
folder=${1:-build/sanitizers}

scripts/install_dependencies.sh build
cmake --preset sanitizers -B "$folder" >/dev/null
cmake --build "$folder" --parallel "$(nproc)"
# The two longest programs start first.
programs=("$folder/tests/end_to_end/logging/logging_end_to_end_tests" "$folder/tests/end_to_end/end_to_end_tests")
while read -r program; do
    [[ " ${programs[*]} " == *" $program "* ]] || programs+=("$program")
done < <(find "$folder/tests" -name '*_tests' ! -name reliability_tests ! -name load_tests -type f -perm -u+x | sort)
printf '%s\0' "${programs[@]}" | xargs --null --max-procs="$(nproc)" --replace \
    sh -c '"$(realpath {})" --gtest_brief=1 --gtest_filter="-*FileSafety*:*SwappedForALink*" >"{}.log" 2>&1 ||
               { cat "{}.log"; exit 1; }
           echo "{}:"; tail -n 1 "{}.log"'
