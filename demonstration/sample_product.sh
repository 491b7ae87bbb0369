# shellcheck shell=bash The sample product: a configuration, logs, and stand-ins for the product's tools, at the
# product's fixed paths. Only for a private root.

# Writes standard input to the file $1, and makes the folders above it.
write_file() {
    mkdir -p "$(dirname "$1")"
    cat >"$1"
}

# Writes standard input as a program to the file $1.
write_program() {
    write_file "$1"
    chmod 755 "$1"
}

# Installs the programs $1 (the agent) and $2 (zmlogadm) in the product's folders.
install_programs() {
    install -D "$1" /usr/kumel/zembrath/bin/zmlogadmagent
    install -D "$2" /usr/kumel/zembrath/bin/support/zmlogadm
}

write_logs() {
    local day
    for day in 1 2 3; do
        printf '10:15:0%d.120 [410] <4> schedd: started job %d\n' "$day" "$day" |
            write_file "/usr/kumel/zembrath/logs/schedd/log.2024030$day"
    done
    mkdir -p /usr/kumel/volmgr
}

write_tools() {
    local bin=/usr/kumel/zembrath/bin
    write_program $bin/support/zmcplogs <<'END'
#!/bin/bash
# A stand-in for the log copier: copies the logs into the folder that its last argument names.
folder=${!#}
mkdir "$folder"
for log in /usr/kumel/zembrath/logs/schedd/log.*; do
    echo "copying $log"
    cp "$log" "$folder"
done
END
    write_program $bin/support/old_zmsu <<'END'
#!/bin/bash
# A stand-in for the support utility: makes a package in the folder after -odir. With -unreachable it fails halfway.
folder=${!#}
mkdir "$folder"
echo "gathering the state of $(hostname)"
uname -s >"$folder/package.txt"
if [[ $1 == -unreachable ]]; then
    echo "no connection to the catalogue" >&2
    exit 3
fi
date -d @0 >"$folder/catalogue.txt"
END
    write_program $bin/goodies/support/versioninfo <<'END'
#!/bin/sh
# A stand-in for the version tool that crashes.
echo "reading version files"
kill -SEGV $$
END
    write_program /opt/HOLKkob/bin/ktlogcfg <<'END'
#!/bin/bash
# A stand-in for the connection broker's logging tool: records its command line.
echo "$0 $*" >>/opt/HOLKkob/calls
END
}

write_main_configuration() {
    write_file /usr/kumel/zembrath/qr.conf <<'END'
SERVER = localhost
# How much each process writes to its log:
VERBOSE = 0
tapemgr_verbose = 1
MYPROC_VERBOSE = 2
NETWORK_TIMEOUT = 60
END
}

write_store() {
    write_file "/usr/kumel/ktul/$1.conf" <<'END'
112.DebugLevel=1
112.DiagnosticLevel=6
111.DebugLevel=1
111.DiagnosticLevel=2
END
}

write_component_configuration() {
    local plugins=/usr/kumel/lib/stg-plugins
    write_file /etc/rkregistry.cfg <<<"kpa.cfg=/usr/kumel/kpa/kpa.cfg"
    write_file /usr/kumel/kpa/kpa.cfg <<<$'[engine]\nLogging=none,thread\nThreads=4'
    write_file $plugins/rk.conf <<<$'SPOOL = /usr/kumel/spool\nLOGLEVEL = 0\n#DEBUGLOG = /'
    write_file $plugins/wqf.conf <<<$'WQF:PORT=443\n#WQF:LOGLEVEL=1'
    write_file $plugins/skyhold.conf <<<$'SHCT_POOL=16\nSHCT_LOG_LEVEL=1'
    write_file /usr/kumel/java/Debug.properties <<<$'#printcmds=true\n#debugMask=0x00000000'
    write_file /usr/kumel/zembrath/sec/az/bin/HOLKaz.conf <<<$'"Port"="5123"\n"DebugLevel"="1"'
    write_file /usr/kumel/volmgr/vm.conf <<<$'# Volume manager\n#VERBOSE\nDRIVES = 2'
}

# Makes the whole sample product, with the programs $1 and $2.
make_sample_product() {
    install_programs "$1" "$2"
    write_logs
    write_tools
    write_main_configuration
    local product
    for product in 51216 58330 60385; do
        write_store $product
    done
    write_component_configuration
}
