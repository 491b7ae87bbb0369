#!/usr/bin/env bash
# Builds the RPM and the tarball of the static build twice, in folders with different names. Checks that both builds
# give the same bytes without a trace of this machine, and the RPM with rpmlint. Then installs, uses, upgrades and
# erases them on a private copy of this machine. Needs root. The argument is the folder to build in; the default is
# build/check_rpm.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
. scripts/shared_steps.sh
folder=$(realpath --canonicalize-missing "${1:-build/check_rpm}")

require_root 'it installs the RPM on a private copy of this machine'
scripts/install_dependencies.sh rpm

build() { # SOURCES NAME
    (cd "$1" && scripts/stage_static_build.sh "$folder/$2/static" &&
        scripts/build_rpm.sh "$folder/$2/static" '' "$folder/$2/rpm" &&
        scripts/build_tarball.sh "$folder/$2/static" '' "$folder/$2/tarball") >/dev/null
}

# Builds in another folder, with the same date.
build_again() {
    SOURCE_DATE_EPOCH=$(scripts/source_date.sh)
    export SOURCE_DATE_EPOCH
    copy_sources "$folder/other sources"
    build "$folder/other sources" "other build"
}

# Makes the same RPM with a higher release number and other settings.
make_newer() {
    cp --archive "$folder/build/static" "$folder/newer"
    sed -i 's/^LOG_MEGABYTES=.*/LOG_MEGABYTES=2048/' "$folder/newer/root/etc/default/zmlogadmagent"
    RPM_RELEASE=2 scripts/build_rpm.sh "$folder/newer" '' "$folder/newer_rpm" >/dev/null
}

make_empty_folder "$folder"
build . build
build_again
for kind in rpm/*.rpm tarball/*.tar.gz; do
    cmp "$folder"/build/$kind "$folder/other build"/$kind
done
echo "RPM and tarball: the same bytes from two folders"
ZMLA_TRACES=$folder scripts/check_no_traces.sh "$folder"/build/rpm/*.rpm "$folder"/build/tarball/*.tar.gz
rpmlint --strict --config packaging/rpm/rpmlint.toml "$folder"/build/rpm/*.rpm >"$folder/rpmlint" || {
    cat "$folder/rpmlint"
    exit 1
}
echo "rpmlint: no error, no warning"
make_newer
mkdir "$folder/shared"
cp "$folder"/build/rpm/*.rpm "$folder/shared/package.rpm"
cp "$folder"/newer_rpm/*.rpm "$folder/shared/newer.rpm"
cp "$folder"/build/tarball/*.tar.gz "$folder/shared/package.tar.gz"
cp --recursive tests/packaging "$folder/shared/tests"
tests/packaging/in_private_debian.sh "$folder/shared" /shared/tests/rpm_life.sh /shared/package.rpm /shared/newer.rpm
tests/packaging/in_private_debian.sh "$folder/shared" /shared/tests/tarball_life.sh /shared/package.tar.gz
