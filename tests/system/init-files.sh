#!/bin/bash
# Prepares a root with sysvinit or systemd, which is the current folder, to be a machine that a test boots.

# Boot scripts set the clock, kernel settings, mounts and swap space, and namespaces do not contain all of
# that. So only scripts that are known to leave the kernel alone keep their bodies.
harmless_scripts=(bootmisc.sh halt killprocs rc rcS rc.local reboot rmnologin sendsigs single)

# Writes Debian's inittab without terminals. The last line of each level tells the test that the machine has
# reached it.
add_inittab() {
    local level
    sed -e '/^#/d' -e '/getty/d' -e '/powerfail/d' usr/share/sysvinit/inittab >etc/inittab
    for level in 2 3 4 5; do
        echo "r$level:$level:once:/bin/touch /run/level$level-reached" >>etc/inittab
    done
}

make_scripts_harmless() {
    local script
    for script in etc/init.d/*; do
        [[ " ${harmless_scripts[*]} " == *" ${script##*/} "* ]] || leave_only_header "$script"
    done
}

# leave_only_header SCRIPT: empties the script without changing its place in the order.
leave_only_header() {
    {
        echo '#!/bin/sh'
        sed -n '/^### BEGIN INIT INFO/,/^### END INIT INFO/p' "$1"
        echo 'exit 0'
    } >"$1.new"
    chmod 755 "$1.new"
    mv "$1.new" "$1"
}

# The same for systemd: these units, and all targets.
harmless_units=(systemd-journald.service systemd-journald.socket systemd-journald-dev-log.socket
    systemd-poweroff.service systemd-reboot.service)

make_units_harmless() {
    remove_from usr/lib/systemd/system '*.target' "${harmless_units[@]}"
    remove_from usr/lib/systemd/system-generators systemd-sysv-generator
    remove_from etc/systemd/system
}

# remove_from FOLDER PATTERN...: removes all files, and what points to them, except those with such names.
remove_from() {
    local folder=$1 pattern others=()
    shift
    for pattern; do
        others+=(-not -name "$pattern")
    done
    find "$folder" -not -type d "${others[@]}" -delete
}

# The journal keeps off the kernel's log and its audit, and in memory.
configure_systemd() {
    mkdir -p etc/systemd/journald.conf.d
    printf '%s\n' '[Journal]' Storage=volatile ReadKMsg=no Audit= >etc/systemd/journald.conf.d/machine.conf
    # Without one, systemd would take each boot for the first.
    echo 8c1b7d0e5f6a4f3e9d2c4b5a69788766 >etc/machine-id
}
