#!/usr/bin/env bash
# release.sh [FOLDER [ARCHITECTURE ...]]: makes the files of a release in FOLDER (default: build/release_files): source
# tarball, Debian package, RPMs and tarballs of the static build, SHA-256 sums. Needs a clone without changes, and
# builds everything from the source tarball. Always builds for this machine's architecture. Further architectures are
# names in cmake/architectures; their cross compilers are installed. The same commit gives the same bytes.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
. scripts/shared_steps.sh
for architecture in "${@:2}"; do
    if [[ ! -e cmake/architectures/$architecture.cmake ]]; then
        echo "No architecture is called $architecture" >&2
        exit 2
    fi
done
scripts/install_dependencies.sh package rpm "${@:2}"
folder=$(realpath --canonicalize-missing "${1:-build/release_files}")
shift || true
if [[ -n $(git status --porcelain) ]]; then
    echo "This clone has changes; commit them first" >&2
    exit 1
fi
version=$(project_version)
if ! grep -qF "## [$version] - " CHANGELOG.md; then
    echo "CHANGELOG.md has no dated section of version $version" >&2
    exit 1
fi
name=zmlogadmagent-$version
work=$(mktemp --directory)
trap 'rm -rf "$work"' EXIT
# What the user has set, such as a date or options of a compiler, must not change the files.
unset $(compgen -e | grep -vxE 'HOME|PATH|PWD|TMPDIR')
umask 022
make_empty_folder "$folder"

# Each file gets the time of the commit; the build takes its date from there.
make_source_tarball() {
    git -c tar.umask=0002 -c core.autocrlf=false archive --format=tar --prefix="$name/" HEAD | gzip -9 --no-name >"$folder/$name.tar.gz"
    tar --extract --file "$folder/$name.tar.gz" --directory "$work"
}

build_static() { # [ARCHITECTURE]
    local built=$work/static/${1:-this_machine}
    scripts/stage_static_build.sh "$built/static" $1
    scripts/build_rpm.sh "$built/static" "$1" "$built/rpm"
    scripts/build_tarball.sh "$built/static" "$1" "$built/tarball"
    mv "$built"/rpm/*.rpm "$built"/tarball/*.tar.gz "$folder"
}

make_source_tarball
traces=$PWD/scripts/check_no_traces.sh
cd "$work/$name"
scripts/build_package.sh "$work/package"
mv "$work"/package/*.deb "$folder"
for architecture in '' "$@"; do
    build_static "$architecture"
done
ZMLA_TRACES=$work "$traces" "$folder"/*.{deb,rpm,tar.gz}
cd "$folder"
sha256sum -- *.deb *.rpm *.tar.gz >SHA256SUMS
cat SHA256SUMS
