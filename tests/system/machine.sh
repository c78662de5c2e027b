#!/bin/bash
# A machine: a Debian root with sysvinit as its init and with heartbeat. Its init boots as the first process of
# namespaces of its own. The content of its disk lasts from boot to boot, as long as the check runs. Checks run in a
# private root, which takes the machine and everything else of theirs with it when it ends.

# shellcheck disable=SC2034 # The checks use what this file does not.

here=${BASH_SOURCE[0]%/*}
# shellcheck source=check.sh
. "$here/check.sh"

machine=${TMPDIR:-}/machine
root=$machine/root
console=$machine/console.txt
base_layer=init
namespaces=(--pid --mount --uts --ipc --net)
roots_environment=(HOME=/root PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin)

# The program, which is also its ID. Checks of another one set all of this anew.
daemon=heartbeat

# In the machine:
script=/etc/init.d/heartbeat
folder=/var/lib/heartbeat

# From outside:
pid_file=$root$folder/heartbeat.pid
beats=$root$folder/heartbeat.txt
log=$root/var/log/heartbeat/heartbeat.log

# --- The machine, off

# make_machine [LAYER...]: makes a machine from these layers on the base layer. It boots in dependency order,
# as Debian ships it.
make_machine() {
    mkdir -p "$machine"/{upper,work,root}
    mount_layers product "${@/#/debian/}" "debian/$base_layer"
    furnish_root
    plug_console_in
}

# mount_layers FOLDER...: mounts these folders of DMN_SYSTEM_LAYERS. Their names are relative, because newer releases of
# mount use a system call that takes at most 255 characters for all of them together.
mount_layers() {
    local lower
    lower=$(IFS=: && echo "$*")
    [ ${#lower} -le 255 ] || fail "the names of the layers are too long for the kernel: $lower"
    (cd "$DMN_SYSTEM_LAYERS" &&
        mount -n -t overlay -o "lowerdir=$lower,upperdir=$machine/upper,workdir=$machine/work" machine "$root")
}

# Provides what programs need that run while the machine is off.
furnish_root() {
    mount -n -t proc -o ro proc "$root/proc"
    : >"$root/dev/null"
    mount -n --bind /dev/null "$root/dev/null"
    in_root ldconfig
}

plug_console_in() {
    mkfifo "$machine/console"
    # Opens the pipe for writing as well, so that it does not end while the machine is off.
    cat <>"$machine/console" >"$console" &
}

# in_root COMMAND...: runs a program of the machine while it is off.
in_root() {
    env -i "${roots_environment[@]}" chroot "$root" "$@"
}

# From now on, init runs the links in their order.
order_by_links() {
    rm "$root"/etc/init.d/.depend.*
}

# Numbers the links as Debian did when it still honoured their order: those that send signals and halt come
# last.
number_halt_links_historically() {
    rename_link 0 K01sendsigs S20sendsigs
    rename_link 0 K05halt S90halt
    rename_link 6 K01sendsigs S20sendsigs
    rename_link 6 K05reboot S90reboot
}

# rename_link LEVEL OLD NEW
rename_link() {
    mv "$root/etc/rc$1.d/$2" "$root/etc/rc$1.d/$3"
}

make_machine_in_link_order() {
    make_machine "$@"
    order_by_links
    number_halt_links_historically
}

install_heartbeat() {
    in_root heartbeat --controlFolder=$folder --interval=3600 "$@" install
}

# --- On and off

boot() {
    unshare --fork --kill-child=KILL "${namespaces[@]}" \
        "$here/boot-machine" "$root" "$machine/console" /sbin/init &
    unshare=$!
    await "the machine has a first process" find_init
    await_level 2
}

find_init() {
    # The line does not end in a line feed, which read reports as a failure.
    read -r init <"/proc/$unshare/task/$unshare/children" || [ -n "$init" ]
}

# await_level LEVEL: waits until all scripts of this run level have run.
await_level() {
    await "the machine has reached run level $1" test -e "$(level_mark "$1")"
}

level_mark() {
    echo "/proc/$init/root/run/level$1-reached"
}

# change_level LEVEL
change_level() {
    rm -f "$(level_mark "$1")"
    inside telinit "$1"
    await_level "$1"
}

# When the processes in namespaces power off or reboot, the namespaces end as if by these signals.
power_off() {
    go_down INT telinit 0
}

reboot() {
    go_down HUP telinit 6
    boot
}

# go_down SIGNAL COMMAND...
go_down() {
    local signal=$1 status=0
    shift
    inside "$@"
    await "the machine has gone down" test ! -e "/proc/$unshare"
    wait "$unshare" || status=$?
    expect_equal "SIG$signal" "SIG$(kill -l "$status")"
}

# Ends all processes at once, as a loss of power does.
crash() {
    kill -KILL "$unshare"
    wait "$unshare" || true
}

# inside COMMAND...: runs a program in the machine while it is on.
inside() {
    (
        open_session
        exec nsenter --target "$init" "${namespaces[@]}" --root --wdns=/ env -i "${roots_environment[@]}" "$@"
    )
}

# For an init that knows who belongs to its machine.
open_session() {
    :
}

# --- The daemon

# daemon_pid: prints the daemon's number in the machine, from its PID file.
daemon_pid() {
    head -n 1 "$pid_file"
}

await_up() {
    await "the daemon is up" is_up
}

is_up() {
    inside $daemon status >/dev/null
}

# await_successor PID: waits until the daemon runs as another process than this.
await_successor() {
    await "the daemon runs as another process than $1" is_up_but_not_as "$1"
}

is_up_but_not_as() {
    is_up && [ "$(daemon_pid)" != "$1" ]
}

kill_daemon() {
    inside sh -c "kill -KILL $(daemon_pid)"
}

expect_running() {
    expect_status 0 inside $daemon status
}

expect_not_running() {
    expect_status 3 inside $daemon status
}

# Expects that the daemon has written its last line and removed its PID file, and that neither it nor a
# command met an error.
expect_orderly_end() {
    expect_equal stopped "$(tail -n 1 "$beats" | cut -d ' ' -f 3)"
    expect_absent "$pid_file"
    expect_no_line 'level="error"' "$log"
}

# expect_links NAME...: the daemon has exactly these links, given as LEVEL/NAME.
expect_links() {
    local links
    links=$(cd "$root/etc" && find . -path "./rc?.d/*$daemon" | sed 's,^./rc\(.\).d,\1,' | sort | xargs)
    expect_equal "$*" "$links"
}
