#!/usr/bin/env bash
# Checks the package and what goes into it: manual pages, names in the completions, the package, what lintian says of it,
# and its life from installation to purging on a private copy of this machine, where the units and the completions are
# tried too. Needs root. An argument names another folder to build in than build/package.
set -euo pipefail
cd "$(dirname "$0")/.."
folder=$(realpath --canonicalize-missing "${1:-build/package}")

if ((EUID != 0)); then
    echo "scripts/check_package.sh has to be run as root: it installs the package on a private copy of this machine" >&2
    exit 1
fi
scripts/install_dependencies.sh package

# The same package with a higher version.
make_newer_package() { # PACKAGE
    local unpacked=$folder/newer
    rm -rf "$unpacked"
    dpkg-deb --raw-extract "$1" "$unpacked"
    sed -i 's/^Version: .*/&+newer/' "$unpacked/DEBIAN/control"
    dpkg-deb --root-owner-group --build "$unpacked" "$folder/shared/newer.deb" >/dev/null
}

# Both are set at a release.
check_version() {
    local project changelog
    project=$(sed -nE 's/^project\(.* VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)
    changelog=$(dpkg-parsechangelog --show-field Version)
    if [[ $project != "$changelog" ]]; then
        echo "the version is $project in CMakeLists.txt and $changelog in debian/changelog"
        exit 1
    fi
    echo "version: $project"
}

check_version
tests/packaging/check_man_pages.sh
tests/packaging/check_completion_names.sh
scripts/build_package.sh "$folder"
lintian --allow-root --fail-on error,warning --info "$folder"/zmlogadmagent_*.changes
echo "lintian: no error, no warning"

mkdir "$folder/shared"
cp "$folder"/zmlogadmagent_*.deb "$folder/shared/package.deb"
make_newer_package "$folder/shared/package.deb"
cp --recursive tests/packaging "$folder/shared/tests"
tests/packaging/in_private_debian.sh "$folder/shared" \
    /shared/tests/package_life.sh /shared/package.deb /shared/newer.deb
echo "The package lives as it should"
