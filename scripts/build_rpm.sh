#!/usr/bin/env bash
# build_rpm.sh [STAGED [ARCHITECTURE [FOLDER]]]: makes an RPM of the static build in FOLDER (default: build/rpm). STAGED
# is a folder that scripts/stage_static_build.sh made; if it is empty or missing, that script runs first. The variable
# RPM_RELEASE is the number after the version (default: 1).
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
. scripts/shared_steps.sh
scripts/install_dependencies.sh rpm
folder=$(realpath --canonicalize-missing "${3:-build/rpm}")
staged=$(realpath --canonicalize-missing "${1:-$folder/static}")
architecture=${2:-}
make_empty_folder "$folder"
mkdir "$folder/files"
if [[ -z ${1:-} ]]; then
    scripts/stage_static_build.sh "$staged" $architecture
fi
SOURCE_DATE_EPOCH=$(scripts/source_date.sh)
export SOURCE_DATE_EPOCH

# Leaves out the folders of the system and of the product. rpm removes a listed folder with the last package that lists
# it.
list_folders() {
    printf '%%dir /usr/share/%s\n' zmlogadmagent bash-completion bash-completion/completions zsh zsh/site-functions
    (cd "$staged/root" && find usr/share/doc/zmlogadmagent -type d -printf '%%dir /%p\n' | LC_ALL=C sort)
}

list_files() {
    (cd "$staged/root" && find . ! -type d -printf '/%P\n' | LC_ALL=C sort) |
        sed -E -e 's,^/etc/,%config(noreplace) &,' -e 's,^/usr/share/doc/.*,%doc &,'
    list_folders
}

changelog() { # VERSION
    LC_ALL=C date --utc --date="@$SOURCE_DATE_EPOCH" \
        "+* %a %b %d %Y zmlogadmagent maintainers <maintainers@zmlogadmagent.example> - $1-${RPM_RELEASE:-1}"
    echo "- Version $1."
}

fill_in() {
    local version preset='zmlogadmagent.socket zmlogadmagent-prune-logs.timer'
    version=$(project_version)
    list_files >"$folder/list"
    changelog "$version" >"$folder/changes"
    sed -e "s/@VERSION@/$version/; s/@RELEASE@/${RPM_RELEASE:-1}/" \
        -e "s/@PRESET_UNITS@/$preset/; s/@UNITS@/$preset zmlogadmagent-tcp.socket/" \
        -e "/@FILES@/{r $folder/list" -e 'd}' -e "/@CHANGELOG@/{r $folder/changes" -e 'd}' \
        -e '/@MAKE_PRODUCT_FILES@/{r packaging/product_files/make.sh' -e 'd}' \
        -e '/@REMOVE_PRODUCT_FILES@/{r packaging/product_files/remove.sh' -e 'd}' packaging/rpm/zmlogadmagent.in
}

# Prints RPM's name of the architecture.
target() {
    case $architecture in
        '') uname --machine ;;
        arm64) echo aarch64 ;;
        i386) echo i686 ;;
        *) echo "$architecture" ;;
    esac
}

fill_in >"$folder/description"
# The files are already stripped and compressed. xz is chosen because old versions of rpm read it.
rpmbuild -bb --target "$(target)-linux" --define "_topdir $folder/work" --define "_rpmdir $folder/files" \
    --define "stage $staged/root" --define '_rpmfilename %%{NAME}-%%{VERSION}-%%{RELEASE}.%%{ARCH}.rpm' \
    --define '__os_install_post %{nil}' --define 'debug_package %{nil}' --define '_build_id_links none' \
    --define '_binary_payload w6.xzdio' --define '_buildhost build' --define 'use_source_date_epoch_as_buildtime 1' \
    --define 'clamp_mtime_to_source_date_epoch 1' --define 'source_date_epoch_from_changelog 0' \
    "$folder/description" >"$folder/rpmbuild.log" 2>&1 || {
    tail -n 40 "$folder/rpmbuild.log"
    exit 1
}
mv "$folder"/files/*.rpm "$folder"
ls "$folder"/*.rpm
