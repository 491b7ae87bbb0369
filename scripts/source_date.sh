#!/usr/bin/env bash
# Prints the time of the sources in seconds since 1970: that of the commit, or, in an unpacked source tarball, that of its
# files. What is built from the same sources is the same bytes.
set -euo pipefail
cd "$(dirname "$0")/.."
if [[ -n ${SOURCE_DATE_EPOCH:-} ]]; then
    echo "$SOURCE_DATE_EPOCH"
elif [[ -e .git ]]; then
    git log -1 --format=%ct
else
    stat --format=%Y CMakeLists.txt
fi
