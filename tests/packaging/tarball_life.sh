#!/usr/bin/env bash
# tarball_life.sh TARBALL: checks the tarball of the static build, unpacked at "/" as README says, on a machine that
# this script may change; see in_private_debian.sh.
set -euo pipefail
tarball=$1
# shellcheck source=tests/packaging/life_checks.sh
. "$(dirname "$0")/life_checks.sh"

owners_and_modes() {
    stat --format='%n %U %G %a' / /usr /usr/bin /usr/lib /usr/lib/systemd/system /usr/share /usr/share/man/man8 $product
}

echo "The tarball"
mkdir -p -m 750 $product
echo 'SERVER = localhost' >$product/qr.conf
cp $product/qr.conf /tmp/qr.conf
owners_and_modes >/tmp/folders
check "it is unpacked" tar --extract --file "$tarball" --directory /
check "no folder that was there has changed" is owners_and_modes -- "$(cat /tmp/folders)"
check "qr.conf is kept" cmp /tmp/qr.conf $product/qr.conf
mkdir -p $product/logs /usr/kumel/ktul
check "the unit is enabled" systemctl enable --now zmlogadmagent.socket zmlogadmagent-prune-logs.timer
check "a request is answered" ask GETDISKSPACE /var/log
check "the agent keeps its log" grep -q GETDISKSPACE $product/logs/zmlogadmagent/log.????????
check "old logs are removed" systemctl start zmlogadmagent-prune-logs.service
check "man finds its pages" man --warnings 8 zmlogadmagent
