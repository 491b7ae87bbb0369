#!/usr/bin/env bash
# Checks that every folder, file and program that the documentation names in backquotes, as a command in an example or
# in a link exists, as a path of the project or as a target of the build. Also checks that scripts/draw_flow.py draws
# the same picture of a request.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."

# Prints the paths in backquotes and the commands, which can have arguments, of the project's folders.
paths_in() { # PAGE
    sed -nE 's/^    (bash )?([A-Za-z_.][A-Za-z0-9_./-]*).*/`\2`/p; p' "$1" |
        grep -oE '`[A-Za-z_.][A-Za-z0-9_./-]*[` ]' | tr -d '` ' |
        grep -E '^(agent|commands|logging_config|platform|request_command|state_command|tests|benchmarks|scripts|demonstration|docs|cmake|packaging|debian|\.ci)/' |
        sort -u
}

# Prints the targets of links to files, as paths of the project.
links_in() { # PAGE
    grep -oE '\]\([^)#: ]+\)' "$1" | sed -E "s,^..(.*).\$,$(dirname "$1")/\1,"
}

failed=0
for page in README.md CHANGELOG.md CONTRIBUTING.md docs/*.md; do
    # Checks names that begin with a folder of the project, except files that the page says to make: "New file `...`".
    while read -r name; do
        if [[ ! -e $name ]] && ! grep -qF "New file \`$name\`" "$page"; then
            echo "$page names $name, which does not exist"
            failed=1
        fi
    done < <(paths_in "$page" || true; links_in "$page")
    while read -r program; do
        if ! grep -rqE "add_(executable|library)\($program( |$)" --include=CMakeLists.txt .; then
            echo "$page names the program $program, which the build does not make"
            failed=1
        fi
    done < <(grep -oE '`(zmlog[a-z]+|[a-z_]+_tests|[a-z_]+_benchmark|in_private_root)`' "$page" | tr -d '`' | sort -u)
done
if ! scripts/draw_flow.py | cmp --silent - docs/pictures/request.svg; then
    echo "docs/pictures/request.svg differs from what scripts/draw_flow.py draws; draw it again"
    failed=1
fi
exit "$failed"
