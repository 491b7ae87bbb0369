#!/usr/bin/env bash
# build_tarball.sh [STAGED [ARCHITECTURE [FOLDER]]]: makes a tarball of the static build, to be unpacked at "/", in the
# folder, build/tarball unless given. STAGED is what scripts/stage_static_build.sh has made; without it, or with an empty
# text, it is made first.
set -euo pipefail
cd "$(dirname "$0")/.."
folder=$(realpath --canonicalize-missing "${3:-build/tarball}")
staged=${1:-$folder/static}
architecture=${2:-}
rm -rf "$folder"
mkdir -p "$folder"
if [[ -z ${1:-} ]]; then
    scripts/stage_static_build.sh "$staged" $architecture
fi
version=$(sed -nE 's/^project\(.* VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)
tarball=$folder/zmlogadmagent-$version-${architecture:-$(dpkg --print-architecture)}.tar.gz

# No folders, so that those that are there keep their owners and modes, and no settings, which an administrator may have
# changed: all of them have defaults.
(cd "$staged/root" && find usr ! -type d -print0 | LC_ALL=C sort --zero-terminated) |
    tar --create --directory "$staged/root" --no-recursion --owner=0 --group=0 --numeric-owner --format=gnu \
        --mtime="@$(scripts/source_date.sh)" --null --files-from=- |
    gzip -9 --no-name >"$tarball"
ls "$tarball"
