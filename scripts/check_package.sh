#!/usr/bin/env bash
# Checks the manual pages and the names in the completions, builds the Debian package, and checks it with lintian. Then
# installs, uses, upgrades and purges it on a private copy of this machine, with its units and completions. Needs root.
# The argument is the folder to build in; the default is build/package.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
. scripts/shared_steps.sh
folder=$(realpath --canonicalize-missing "${1:-build/package}")

require_root 'it installs the package on a private copy of this machine'
scripts/install_dependencies.sh package

# Makes the same package with a higher version.
make_newer_package() { # PACKAGE
    local unpacked=$folder/newer
    rm -rf "$unpacked"
    dpkg-deb --raw-extract "$1" "$unpacked"
    sed -i 's/^Version: .*/&+newer/' "$unpacked/DEBIAN/control"
    dpkg-deb --root-owner-group --build "$unpacked" "$folder/shared/newer.deb" >/dev/null
}

check_version() {
    local project changelog
    project=$(project_version)
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
