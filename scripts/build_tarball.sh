#!/usr/bin/env bash
# build_tarball.sh [STAGED [ARCHITECTURE [FOLDER]]]: makes a tarball of the static build in FOLDER (default:
# build/tarball), to be unpacked at "/". STAGED is a folder that scripts/stage_static_build.sh made; if it is empty or
# missing, that script runs first.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
. scripts/shared_steps.sh
folder=$(realpath --canonicalize-missing "${3:-build/tarball}")
staged=${1:-$folder/static}
architecture=${2:-}
make_empty_folder "$folder"
if [[ -z ${1:-} ]]; then
    scripts/stage_static_build.sh "$staged" $architecture
fi
tarball=$folder/zmlogadmagent-$(project_version)-${architecture:-$(dpkg --print-architecture)}.tar.gz

# The tarball has no folders, so that existing folders keep their owners and modes. It has no settings, because an
# administrator may have changed them; every setting has a default.
(cd "$staged/root" && find usr ! -type d -print0 | LC_ALL=C sort --zero-terminated) |
    tar --create --directory "$staged/root" --no-recursion --owner=0 --group=0 --numeric-owner --format=gnu \
        --mtime="@$(scripts/source_date.sh)" --null --files-from=- |
    gzip -9 --no-name >"$tarball"
ls "$tarball"
