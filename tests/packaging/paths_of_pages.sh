#!/usr/bin/env bash
# paths_of_pages.sh: checks that every path in the installed manual pages exists, except paths of the product, of the
# system and of examples, on a machine where the package is installed; see in_private_debian.sh.
set -euo pipefail
failed=0

is_of_others() {
    case $1 in
        # Components and tools of the product, and files that are made when they are needed.
        /usr/kumel/java/* | /usr/kumel/lib/* | /usr/kumel/volmgr/* | /usr/kumel/ktul/*.conf | /opt/*) ;;
        /usr/kumel/zembrath/sec/* | /usr/kumel/zembrath/bin/goodies/* | /usr/kumel/zembrath/bin/private/*) ;;
        /usr/kumel/zembrath/bin/support/old_zmsu | /usr/kumel/zembrath/bin/support/zmcplogs) ;;
        /usr/kumel/zembrath/logs/zmlogadmagent* | /usr/kumel/zembrath/logs/zmlaevidence* | *.lock | *.new) ;;
        # The system's, and names in examples.
        /etc/crontab | /etc/hostname | /etc/rkregistry.cfg | /etc/services | /dev/null) ;;
        /tmp* | /var* | /srv* | /root/* | /tcp) ;;
        # Files below a folder that the user names.
        /files | /manifest) ;;
        *) return 1 ;;
    esac
}

for page in /usr/share/man/man?/{zmlog*,qr.conf.5,ktul.conf.5}*; do
    paths=$(zcat --force "$page" | grep -oE '(^|[ "(=])/[a-z][A-Za-z0-9_./@-]+' | grep -oE '/.*[^.]' | sort -u)
    if [[ -z $paths ]]; then
        echo "$page: no paths found"
        failed=1
    fi
    for path in $paths; do
        if ! is_of_others "$path" && [[ ! -e $path ]]; then
            echo "$page names $path, which is not there"
            failed=1
        fi
    done
done
exit "$failed"
