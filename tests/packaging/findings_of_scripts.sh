#!/usr/bin/env bash
# findings_of_scripts.sh PRINT_WORDS: checks that the scripts that check the sources find faults, in a copy of the tree.
# Exits with 77, which skips the test, on a machine without git.
set -euo pipefail
print_words=$(realpath "$1")
CDPATH= cd "$(dirname "$0")/../.."
command -v git >/dev/null || exit 77
copy=$(mktemp --directory)
trap 'rm -rf "$copy"' EXIT
tar --create --exclude-vcs --exclude=./build --exclude='./build-*' . | tar --extract --directory "$copy"
cd "$copy"
export GIT_CONFIG_GLOBAL=/dev/null GIT_CONFIG_SYSTEM=/dev/null
git init --quiet
git add .
failed=0

# Appends the line to the file, expects the command to find that, and restores the file.
finds() { # FILE LINE COMMAND...
    local file=$1 line=$2
    shift 2
    cp "$file" "$copy/before"
    printf '%s\n' "$line" >>"$file"
    if "$@" >/dev/null 2>&1; then
        echo "$1 does not find in $file: $line"
        failed=1
    fi
    mv "$copy/before" "$file"
}

# Expects that the command does not find a fault where there is none.
accepts() { # COMMAND...
    if ! "$@" >"$copy/said" 2>&1; then
        echo "$* finds in a tree without a fault:"
        cat "$copy/said"
        failed=1
    fi
}

accepts scripts/check_includes.py
(cd agent && ../scripts/check_includes.py >/dev/null) || failed=1
for include in '#include "agent/globals.h"' '#include <agent/globals.h>' '#  include "agent/globals.h"' \
    '#include "platform/../agent/globals.h"' '#include "../agent/globals.h"'; do
    finds platform/command_line.cpp "$include" scripts/check_includes.py
done

accepts scripts/check_documentation.sh
for line in 'See `docs/none.md`.' 'Run `scripts/none.sh all`.' '    scripts/none.sh all' '    bash .ci/none' \
    '[page](docs/none.md)' 'Run `none_tests`.'; do
    finds README.md "$line" scripts/check_documentation.sh
done

accepts packaging/write_names.py "$print_words" --check
grep -rl '# names: ' packaging/completion tests/fuzz/dictionary | while read -r file; do
    for form in $(grep -o '# names: .*' "$file" | tr ' ' '~'); do
        cp "$file" "$copy/kept"
        sed -i "s/${form//\~/ }\$/# words:/" "$file"
        finds "$file" '# A mark is missing' packaging/write_names.py "$print_words" --check
        mv "$copy/kept" "$file"
    done
    ((failed == 0))
done || failed=1

export CDPATH=.:..
if [[ $(SOURCE_DATE_EPOCH=5 scripts/source_date.sh) != 5 ]]; then
    echo "scripts/source_date.sh prints more than the date when CDPATH is set"
    failed=1
fi
echo 'built in some folder' >built
if env --unset=HOME ZMLA_TRACES='some folder' scripts/check_no_traces.sh built >/dev/null 2>&1; then
    echo "scripts/check_no_traces.sh does not find a trace when HOME is not set"
    failed=1
fi
exit "$failed"
