#!/usr/bin/env bash
# Builds the Debian package from a copy of the sources, because the build leaves files among them. The argument is the
# folder to build in; the default is build/package.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
. scripts/shared_steps.sh

scripts/install_dependencies.sh package
folder=$(realpath --canonicalize-missing "${1:-build/package}")
make_empty_folder "$folder"
copy_sources "$folder/sources"
cd "$folder/sources"
dpkg-buildpackage --unsigned-source --unsigned-changes --jobs="$(nproc)" >../build.log 2>&1 || {
    tail -n 40 ../build.log
    exit 1
}
ls "$folder"/*.deb
