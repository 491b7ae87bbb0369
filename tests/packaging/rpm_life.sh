#!/usr/bin/env bash
# rpm_life.sh RPM NEWER_RPM: checks the RPM from installation to erasing, on a machine that this script may change; see
# in_private_debian.sh. The newer RPM has other settings for the removal of old logs. Prints a line for each check, and
# ends at the first that fails.
set -euo pipefail
package=$1
newer_package=$2
here=$(dirname "$0")
# shellcheck source=tests/packaging/life_checks.sh
. "$here/life_checks.sh"
settings=/etc/default/zmlogadmagent

# The RPM requires other RPMs, and this machine has none.
change_packages() { # ARGUMENT ...
    rpm --force-debian --nodeps "$@"
}

need_nothing() { # PROGRAM ...
    local program
    for program; do
        readelf --program-headers --dynamic --wide "$program" >/tmp/headers || return
        ! grep -e NEEDED -e INTERP /tmp/headers || return
    done
}

check_installation() {
    echo "Installation of the RPM"
    check "the RPM is installed" change_packages --install "$package"
    check "every file is as the RPM has it" is rpm --verify --nodeps zmlogadmagent -- ''
    check "qr.conf trusts nobody" fails grep -iE '^[[:blank:]]*SERVER' $product/qr.conf
    check "the folders are there" test -d $product/logs -a -d /usr/kumel/ktul
    check "the request command is on PATH" is command -v zmlogadm -- /usr/bin/zmlogadm
    check "the programs need nothing of the host but its kernel" need_nothing \
        $product/bin/zmlogadmagent $product/bin/support/zmlogadm
    check "the local socket is enabled by the host's presets" is systemctl is-enabled zmlogadmagent.socket -- enabled
    check "the TCP socket is not" is systemctl is-enabled zmlogadmagent-tcp.socket -- disabled
    check "the local socket starts" systemctl start zmlogadmagent.socket zmlogadmagent-prune-logs.timer
    check "the paths that the pages name are there" "$here/paths_of_pages.sh"
    check "root is rejected while qr.conf trusts nobody" is_refused ask GETDISKSPACE /var/log
}

check_upgrade() {
    echo "Upgrade of the RPM"
    echo 'SERVER = localhost' >>$product/qr.conf
    sed -i 's/^LOG_DAYS=.*/LOG_DAYS=7/' $settings
    cp $product/qr.conf $settings /tmp
    rm -rf $product/logs/zmlogadmagent
    begin_request
    check "a newer RPM is installed while a request is running" change_packages --upgrade "$newer_package"
    check "the request is carried out" grep '^EXIT STATUS 0 ' <<<"$(finish_request)"
    check "qr.conf is kept" cmp /tmp/qr.conf $product/qr.conf
    check "changed settings are kept" cmp /tmp/zmlogadmagent $settings
    check "the new ones are beside them" grep -q '^LOG_MEGABYTES=2048' $settings.rpmnew
    check "the local socket listens again" ask GETDISKSPACE /var/log
    check "the TCP socket is still not enabled" is systemctl is-enabled zmlogadmagent-tcp.socket -- disabled
    check "nothing but the settings differs from the RPM" is rpm --verify --nodeps --nomtime zmlogadmagent -- \
        "S.5......  c $settings"
}

check_erasing() {
    echo "Erasing of the RPM"
    check "the RPM is erased" change_packages --erase zmlogadmagent
    check "nothing listens" is systemctl is-active zmlogadmagent.socket zmlogadmagent-prune-logs.timer -- \
        $'inactive\ninactive'
    check "qr.conf, which was changed, is kept" cmp /tmp/qr.conf $product/qr.conf
    check "the agent's log is kept" grep -q GETDISKSPACE $product/logs/zmlogadmagent/log.????????
    check "so are the changed settings" cmp /tmp/zmlogadmagent $settings.rpmsave
    rm -r /usr/kumel $settings.*
    everything >/tmp/everything_now
    check "nothing else was left or taken" changes_nothing /tmp/everything_before /tmp/everything_now
}

check_life_unused() {
    echo "An RPM that nobody has used"
    check "the RPM is installed" change_packages --install "$package"
    check "the RPM is erased" change_packages --erase zmlogadmagent
    everything >/tmp/everything_now
    check "nothing was left or taken" changes_nothing /tmp/everything_before /tmp/everything_now
}

check_life_beside_product() {
    echo "The RPM beside the product's own files"
    mkdir -p $product/logs/jobd /usr/kumel/ktul
    printf 'SERVER = backup1.example.org\n' >$product/qr.conf
    chmod 700 $product
    product_files >/tmp/product_before
    check "the RPM is installed" change_packages --install "$package"
    check "the RPM is erased" change_packages --erase zmlogadmagent
    product_files >/tmp/product_now
    check "every file of the product is as it was" changes_nothing /tmp/product_before /tmp/product_now
    rm -r /usr/kumel
}

everything >/tmp/everything_before
check_installation
check_upgrade
check_erasing
check_life_unused
check_life_beside_product
