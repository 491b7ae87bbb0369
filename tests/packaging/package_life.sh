#!/usr/bin/env bash
# package_life.sh PACKAGE NEWER_PACKAGE: checks the package from installation to purge, on a machine that this script
# may change; see in_private_debian.sh. Prints a line for each check, and ends at the first that fails.
set -euo pipefail
package=$1
newer_package=$2
here=$(dirname "$0")
store=/usr/kumel/ktul/51216.conf

# shellcheck source=tests/packaging/life_checks.sh
. "$here/life_checks.sh"

check_installation() {
    echo "Installation"
    check "the package is installed" install_package "$package"
    check "qr.conf trusts nobody" fails grep -iE '^[[:blank:]]*SERVER' $product/qr.conf
    check "qr.conf is root's" is stat --format='%U:%G %a' $product/qr.conf -- 'root:root 644'
    check "the folders are there" test -d $product/logs -a -d /usr/kumel/ktul
    check "the request command is on PATH" is command -v zmlogadm -- /usr/bin/zmlogadm
    check "the state command is on PATH" is command -v zmlogstate -- /usr/bin/zmlogstate
    check "the documentation is there" test -e /usr/share/doc/zmlogadmagent/README.Debian \
        -a -e /usr/share/doc/zmlogadmagent/copyright -a -e /usr/share/doc/zmlogadmagent/zmlogadm.schema.json
    local page
    for page in zmlogadm.1 zmlogadmagent.8 zmlogstate.8 qr.conf.5 ktul.conf.5; do
        check "man finds ${page%.*} in section ${page##*.}" man --warnings "${page##*.}" "${page%.*}"
    done
    check "the paths that the pages name are there" "$here/paths_of_pages.sh"
    check "systemd-analyze verify says nothing of the units" is systemd-analyze verify zmlogadmagent.socket \
        zmlogadmagent-tcp.socket zmlogadmagent@i.service zmlogadmagent-tcp@i.service zmlogadmagent-prune-logs.timer \
        zmlogadmagent-prune-logs.service -- ''
    check "the service's exposure is at most 5.0" systemd-analyze security --offline=yes --threshold=50 --no-pager \
        /lib/systemd/system/zmlogadmagent@.service
    check "the local socket is enabled" is systemctl is-enabled zmlogadmagent.socket -- enabled
    check "the local socket listens" is systemctl is-active zmlogadmagent.socket -- active
    check "only root can use the local socket" is stat --format='%U:%G %a' $socket -- 'root:root 600'
    check "the TCP socket is not enabled" is systemctl is-enabled zmlogadmagent-tcp.socket -- disabled
    check "the TCP socket does not listen" is systemctl is-active zmlogadmagent-tcp.socket -- inactive
}

# Prints the process of the only running request.
agent_process() {
    local attempt process
    for ((attempt = 0; attempt < 200; attempt++)); do
        process=$(systemctl show --property=MainPID --value 'zmlogadmagent@*.service' | grep -vx -e 0 -e '') &&
            [[ $(readlink "/proc/$process/exe") == */zmlogadmagent ]] && echo "$process" && return
    done
    return 1
}

# The output of an agent never reaches the peer, even if a library prints by mistake.
agent_prints_to_nobody() {
    coproc peer {
        perl -MIO::Socket::UNIX -e '$| = 1; $s = IO::Socket::UNIX->new($ARGV[0]) or die; print "up\n"; <STDIN>' $socket
    }
    local process up
    read -r up <&"${peer[0]}" && [[ $up == up ]] && process=$(agent_process) && ls -l "/proc/$process/fd" &&
        [[ $(readlink "/proc/$process/fd/1") == */dev/null && $(readlink "/proc/$process/fd/2") == */dev/null ]]
}

check_local_requests() {
    echo "Requests over the local socket"
    check "root is rejected while qr.conf trusts nobody" is_refused ask GETDISKSPACE /var/log
    echo 'SERVER = localhost' >>$product/qr.conf
    check "GETDISKSPACE is answered" ask GETDISKSPACE /var/log
    check "descriptors 1 and 2 of an agent are /dev/null" agent_prints_to_nobody
    printf '111.DebugLevel=1\n' >$store
    chmod 640 $store
    chgrp daemon $store
    check "a log level of the store is changed" ask ENABLELOGGING ZMKTUL:111=5
    check "the store has the new level" grep -qx 111.DebugLevel=5 $store
    check "the store's mode and group are kept" is stat --format='%U:%G %a' $store -- 'root:daemon 640'
    check "a verbosity of qr.conf is changed" ask ENABLELOGGING QRCONF:JOBD_VERBOSE=3
    check "qr.conf has the new verbosity" grep -qx 'JOBD_VERBOSE = 3' $product/qr.conf
    check "the agent keeps its log" grep -q GETDISKSPACE $product/logs/zmlogadmagent/log.????????
    check "an ordinary user does not reach the socket" fails setpriv --reuid=65534 --clear-groups \
        zmlogadm -S $socket GETDISKSPACE /var/log
}

# Makes a thousand connections, as fast as possible.
local_burst() {
    perl -MIO::Socket::UNIX -e 'for (1 .. 1000) { IO::Socket::UNIX->new($ARGV[0]) or die "connection $_: $!" }' $socket
}

tcp_burst() {
    perl -MIO::Socket::INET -e 'for (1 .. 1000) {
        IO::Socket::INET->new(PeerAddr => "127.0.0.1", PeerPort => 24761) or die "connection $_: $!" }'
}

# Connections from root's ports are agents that wait for a request. The first 16 are held; the next one is closed.
tcp_seventeenth_is_closed() {
    perl -MIO::Socket::INET -e '
        my @held = map { IO::Socket::INET->new(PeerAddr => "127.0.0.1", PeerPort => 24761, LocalPort => 800 + $_)
            or die "connection $_: $!" } 1 .. 17;
        my $got = sysread($held[16], my $bytes, 1);
        die "the 17th connection is served" if $got;
        my $waiting = "";
        vec($waiting, fileno($_), 1) = 1 for @held[0 .. 15];
        die "one of the first 16 connections is closed" if select($waiting, undef, undef, 0)'
}

check_floods() {
    echo "Floods"
    check "a thousand connections to the local socket" local_burst
    check "the local socket lives on" in_the_end ask GETDISKSPACE /var/log
    check "a thousand connections to the TCP socket" tcp_burst
    check "the TCP socket lives on" in_the_end zmlogadm -H 127.0.0.1 GETDISKSPACE /var/log
    check "no process of the flood is left" in_the_end is \
        systemctl list-units --no-legend 'zmlogadmagent*@*.service' -- ''
    check "one host has 16 places" tcp_seventeenth_is_closed
    check "both sockets are active" is systemctl is-active zmlogadmagent.socket zmlogadmagent-tcp.socket -- \
        $'active\nactive'
    check "no request has left a failed unit" is systemctl list-units --failed --no-legend -- ''
}

check_tcp_requests() {
    echo "Requests over TCP"
    check "the TCP socket starts" systemctl start zmlogadmagent-tcp.socket
    check "GETDISKSPACE is answered over IPv4" zmlogadm -H 127.0.0.1 GETDISKSPACE /var/log
    check "GETDISKSPACE is answered over IPv6" zmlogadm -H ::1 GETDISKSPACE /var/log
    check "an ordinary user is rejected" is_refused setpriv --reuid=65534 --clear-groups \
        zmlogadm -H 127.0.0.1 GETDISKSPACE /var/log
}

check_completions() {
    echo "Completions"
    check "as bash loads them" "$here/completion_in_bash.sh"
    check "at the keyboard of bash" "$here/completion_at_keyboard.sh" bash
    check "at the keyboard of zsh" "$here/completion_at_keyboard.sh" zsh
    mv $product/qr.conf $product/logs /tmp
    check "with hostile names at the keyboard of bash" "$here/completion_of_hostile_names.sh" bash
    check "with hostile names at the keyboard of zsh" "$here/completion_of_hostile_names.sh" zsh
    mv /tmp/qr.conf /tmp/logs $product
}

check_upgrade() {
    echo "Upgrade"
    systemctl --quiet enable zmlogadmagent-tcp.socket
    systemctl --quiet disable --now zmlogadmagent.socket
    product_files >/tmp/before
    check "a newer package is installed over it" install_package "$newer_package"
    product_files >/tmp/now
    # The programs of the newer package are the same.
    check "qr.conf, levels and logs are as they were" changes_nothing /tmp/before /tmp/now
    check "the TCP socket is still enabled" is systemctl is-enabled zmlogadmagent-tcp.socket -- enabled
    check "the TCP socket listens again" zmlogadm -H 127.0.0.1 GETDISKSPACE /var/log
    check "the local socket is still disabled" is systemctl is-enabled zmlogadmagent.socket -- disabled
    check "the local socket does not listen" is systemctl is-active zmlogadmagent.socket -- inactive
    systemctl --quiet enable --now zmlogadmagent.socket
}

check_removal() {
    echo "Removal"
    cp $product/qr.conf /tmp/qr.conf
    check "the package is removed" dpkg --remove zmlogadmagent
    check "qr.conf is kept" cmp /tmp/qr.conf $product/qr.conf
    check "the agent's log is kept" grep -q GETDISKSPACE $product/logs/zmlogadmagent/log.????????
    check "the programs are gone" test ! -e $product/bin -a ! -L /usr/bin/zmlogadm \
        -a ! -L /usr/bin/zmlogstate
    check "nothing listens" is systemctl is-active zmlogadmagent.socket zmlogadmagent-tcp.socket -- \
        $'inactive\ninactive'
    check "no timer is left" is systemctl is-active zmlogadmagent-prune-logs.timer -- inactive
}

# The tests have changed qr.conf, so it is no longer the package's.
check_purge() {
    echo "Purge"
    rm -f $store
    check "the package is purged" dpkg --purge zmlogadmagent
    check "qr.conf, which was changed, is kept" cmp /tmp/qr.conf $product/qr.conf
    check "nothing else of the product's is left" is find /usr/kumel ! -type d -- $product/qr.conf
    rm -r /usr/kumel
    everything >/tmp/everything_now
    check "nothing else was left or taken" changes_nothing /tmp/everything_before /tmp/everything_now
}

# Makes the files that a host of the product has before the package is installed.
make_product() {
    mkdir -p $product/logs/jobd /usr/kumel/ktul
    printf 'SERVER = backup1.example.org\nVERBOSE = 2\n' >$product/qr.conf
    chmod 600 $product/qr.conf
    echo text >$product/logs/jobd/log.20260101
    printf '111.DebugLevel=1\n' >$store
}

check_life_beside_product() {
    echo "Beside the product's own files"
    make_product
    product_files >/tmp/product_before
    everything >/tmp/everything_before
    check "the package is installed" install_package "$package"
    check "the host's own qr.conf is kept" is cat $product/qr.conf -- $'SERVER = backup1.example.org\nVERBOSE = 2'
    echo 'SERVER = localhost' >>$product/qr.conf
    check "a request is answered" ask ENABLELOGGING ZMKTUL:111=1
    sed -i '/localhost/d' $product/qr.conf
    check "the package is removed and purged at once" dpkg --purge zmlogadmagent
    product_files >/tmp/product_now
    check "every file of the product is as it was" changes_nothing /tmp/product_before /tmp/product_now
    everything >/tmp/everything_now
    check "nothing else was left or taken" changes_nothing /tmp/everything_before /tmp/everything_now
}

everything >/tmp/everything_before
check_installation
check_local_requests
"$here/log_pruning.sh"
check_tcp_requests
check_floods
check_completions
check_upgrade
check_removal
check_purge
check_life_beside_product
rm -r /usr/kumel
"$here/package_purge.sh" "$package"
