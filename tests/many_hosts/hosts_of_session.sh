# shellcheck shell=bash
# The host of the session in README.md.

start_hosts() {
    ln -s /usr/kumel/zembrath/bin/support/zmlogstate /usr/local/bin/zmlogstate
    start_host 7 40960 has_a_volume_manager serves_the_port serves_ssh
    wait_for_listeners 127.0.0.7:24761 127.0.0.7:22
}

has_a_volume_manager() {
    ln -s "$programs/zmlogstate" /usr/kumel/zembrath/bin/support/zmlogstate
    mkdir /usr/kumel/volmgr
    echo '#VERBOSE' >/usr/kumel/volmgr/vm.conf
}
