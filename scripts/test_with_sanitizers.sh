#!/usr/bin/env bash
# Builds with AddressSanitizer and UndefinedBehaviorSanitizer and runs every test program as a whole, which is much
# quicker than test by test. Killing the agent at each system call is left out: there it has too many, of the sanitizers.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install_dependencies.sh build
cmake --preset sanitizers >/dev/null
cmake --build --preset sanitizers --parallel "$(nproc)"
# The two longest first.
programs=(build/sanitizers/tests/end_to_end/logging/logging_end_to_end_tests
          build/sanitizers/tests/end_to_end/end_to_end_tests)
while read -r program; do
    [[ " ${programs[*]} " == *" $program "* ]] || programs+=("$program")
done < <(find build/sanitizers/tests -name '*_tests' -type f -perm -u+x | sort)
printf '%s\0' "${programs[@]}" | xargs --null --max-procs="$(nproc)" --replace \
    sh -c '"$PWD/{}" --gtest_brief=1 --gtest_filter="-*FileSafety*" >"{}.log" 2>&1 ||
               { cat "{}.log"; exit 1; }
           echo "{}:"; tail -n 1 "{}.log"'
