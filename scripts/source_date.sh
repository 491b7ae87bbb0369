#!/usr/bin/env bash
# Prints the time of the sources in seconds since 1970: that of the commit, or of the files of an unpacked source
# tarball. Builds are dated by it, so that the same sources give the same bytes.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
if [[ -n ${SOURCE_DATE_EPOCH:-} ]]; then
    echo "$SOURCE_DATE_EPOCH"
elif [[ -e .git ]]; then
    git log -1 --format=%ct
else
    stat --format=%Y CMakeLists.txt
fi
