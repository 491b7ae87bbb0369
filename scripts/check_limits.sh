#!/usr/bin/env bash
# Checks that no source has more than 330 lines and that the subject of the last commit has at most 72 characters.
# clang-tidy checks the length of functions.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
most_lines=330
most_characters=72

failed=0
while read -r lines file; do
    if ((lines > most_lines)); then
        echo "$file has $lines lines; the limit is $most_lines"
        failed=1
    fi
done < <(git ls-files -z '*.cpp' '*.h' '*.c' '*.py' '*.sh' '*.cmake' '*CMakeLists.txt' |
         xargs -0 wc --lines | grep -v ' total$')
subject=$(git log -1 --format=%s)
if ((${#subject} > most_characters)); then
    echo "The subject of the last commit has ${#subject} characters; the limit is $most_characters: $subject"
    failed=1
fi
((failed == 0)) && echo "limits: kept"
exit "$failed"
