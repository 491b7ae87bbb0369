#!/usr/bin/env bash
# package_purge.sh PACKAGE: installs and purges the package where an administrator has put links, mount points and other
# files at its paths, on a machine that this script may change; see in_private_debian.sh.
set -euo pipefail
package=$1
# shellcheck source=tests/packaging/life_checks.sh
. "$(dirname "$0")/life_checks.sh"
logs=$product/logs

listed() { # FOLDER NAME ...: these and no others are in the folder
    local folder=$1
    shift
    diff <(printf '%s\n' "$@") <(find "$folder" -mindepth 1 -printf '%P\n' | sort)
}

check_unchanged_configuration() {
    echo "Purge of a package that nobody has used"
    check "the package is installed" install_package "$package"
    check "the package is purged" dpkg --purge zmlogadmagent
    everything >/tmp/everything_now
    check "qr.conf is gone, and nothing else was left or taken" changes_nothing /tmp/everything_before /tmp/everything_now
}

check_links() {
    echo "Links in the package's way"
    local elsewhere=/srv/elsewhere
    mkdir -p /usr/kumel
    ln -s /nowhere /usr/kumel/ktul
    check "the package is installed where a link leads nowhere" install_package "$package"
    mkdir -p $elsewhere/logs $elsewhere/evidence
    touch $elsewhere/logs/log.20260101 $elsewhere/lock
    mv $product/qr.conf $elsewhere
    ln -s $elsewhere/logs $logs/zmlogadmagent
    ln -s $elsewhere/evidence $logs/zmlaevidence
    ln -s $elsewhere/lock $product/qr.conf.lock
    ln -s $elsewhere/qr.conf $product/qr.conf
    check "the package is purged" dpkg --purge zmlogadmagent
    check "the links are left" listed /usr/kumel ktul zembrath zembrath/logs zembrath/logs/zmlaevidence \
        zembrath/logs/zmlogadmagent zembrath/qr.conf zembrath/qr.conf.lock
    check "what they lead to is left" listed $elsewhere evidence lock logs logs/log.20260101 qr.conf
    rm -r /usr/kumel $elsewhere
}

check_mount_points() {
    echo "Mount points in the package's way"
    check "the package is installed" install_package "$package"
    mkdir $logs/zmlogadmagent $logs/zmlaevidence
    mount -t tmpfs logs $logs/zmlogadmagent
    mount -t tmpfs evidence $logs/zmlaevidence
    touch $logs/zmlogadmagent/log.20260101 $logs/zmlogadmagent/log.2026010
    mkdir $logs/zmlogadmagent/log.20260102
    ln -s log.2026010 $logs/zmlogadmagent/log.20260103
    check "the package is purged" dpkg --purge zmlogadmagent
    check "the agent's logs are gone, and nothing else that has such a name" listed $logs/zmlogadmagent \
        log.2026010 log.20260102 log.20260103
    check "the mount points are there" mountpoint --quiet $logs/zmlogadmagent
    umount $logs/zmlogadmagent $logs/zmlaevidence
    rm -rf /run/mount # mount keeps its own notes there
    rm -r /usr/kumel
}

check_other_files() {
    echo "Other files in the package's way"
    mkdir -p $product
    echo text >/usr/kumel/ktul
    check "the package is installed where a file has the name of a folder" install_package "$package"
    mkdir $product/.qr.conf.new $product/qr.conf.lock
    check "the package is purged" dpkg --purge zmlogadmagent
    check "what is not the package's is left" listed /usr/kumel ktul zembrath zembrath/.qr.conf.new \
        zembrath/qr.conf.lock
    rm -r /usr/kumel
}

everything >/tmp/everything_before
check_unchanged_configuration
check_links
check_mount_points
check_other_files
everything >/tmp/everything_now
check "after all that, nothing was left or taken" changes_nothing /tmp/everything_before /tmp/everything_now
