#!/usr/bin/env bash
# Builds the Debian package, from a copy of the sources, so that nothing is left among them. An argument names another
# folder than build/package.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install_dependencies.sh package
folder=$(realpath --canonicalize-missing "${1:-build/package}")
rm -rf "$folder"
mkdir -p "$folder/sources"
tar --create --exclude-vcs --exclude-vcs-ignores --exclude='./build' --exclude='./build-*' . |
    tar --extract --directory "$folder/sources"
cd "$folder/sources"
dpkg-buildpackage --unsigned-source --unsigned-changes --jobs="$(nproc)" >../build.log 2>&1 || {
    tail -n 40 ../build.log
    exit 1
}
ls "$folder"/*.deb
