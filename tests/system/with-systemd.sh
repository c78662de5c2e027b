#!/bin/bash
# Machines whose process 1 is systemd, on control groups of their own. Sourced after machine.sh.

# shellcheck disable=SC2034,SC2154 # It shares variables with machine.sh and the checks.

generator=/lib/systemd/system-generators/systemd-sysv-generator
cgroups=${TMPDIR:-}/cgroups
namespaces+=(--cgroup)

# --- The machine, off

# make_machine_with_systemd [LAYER...]
make_machine_with_systemd() {
    make_cgroup
    make_machine "$@" systemd
    # Those of sysvinit itself.
    find "$root"/etc/init.d "$root"/etc/rc?.d -mindepth 1 -delete
}

# Makes a cgroup for the machine, in a view of its own on this computer's: what is mounted anywhere else may be another
# version, or read-only. The lock on the cgroup tells other checks that this one lives.
make_cgroup() {
    mkdir "$cgroups"
    mount -n -t cgroup2 cgroup2 "$cgroups" || give_up "needs control groups of version 2"
    exec {gate}<"$cgroups"
    flock "$gate"
    remove_leftovers
    cgroup=$(mktemp -d "$cgroups/dmn-machine.XXXXXX") || give_up "needs to make control groups"
    exec {lock}<"$cgroup"
    flock "$lock"
    exec {gate}<&-
}

# Checks that were killed could not remove their cgroups.
remove_leftovers() {
    local leftover
    for leftover in "$cgroups"/dmn-machine.*; do
        [ ! -e "$leftover" ] || flock --nonblock "$leftover" find "$leftover" -depth -type d -delete || true
    done
}

remove_machines_cgroup() {
    [ ! -e "$cgroup/machine" ] || find "$cgroup/machine" -depth -type d -delete
}

clean_up() {
    [ -n "${cgroup:-}" ] || return 0
    [ -z "${unshare:-}" ] || kill -KILL "$unshare" 2>/dev/null || true
    await "the control groups of the machine are empty" remove_machines_cgroup
    rmdir "$cgroup"
}

# --- On and off

boot() {
    await "the control groups of the last boot are empty" remove_machines_cgroup
    mkdir "$cgroup/machine"
    (
        exec {lock}<&-
        echo "$BASHPID" >"$cgroup/machine/cgroup.procs"
        exec unshare --fork --kill-child=KILL "${namespaces[@]}" \
            "$here/boot-systemd" "$root" "$machine/console"
    ) &
    unshare=$!
    await "the machine has a first process" find_init
    await "systemd listens" test -S "/proc/$init/root/run/systemd/private"
    # Ends with a status of its own, for a unit that failed.
    inside systemctl is-system-running --wait >/dev/null || true
}

# systemd signals nobody at power-off whose cgroup is not the machine's.
open_session() {
    exec {lock}<&-
    mkdir -p "$cgroup/machine/session"
    echo "$BASHPID" >"$cgroup/machine/session/cgroup.procs"
}

power_off() {
    go_down INT systemctl poweroff
}

reboot() {
    go_down HUP systemctl reboot
    boot
}

show_what_happened() {
    tail -n 20 "${log:-}" 2>/dev/null || true
    [ -z "${init:-}" ] || inside journalctl --quiet --no-pager --lines=40
}

# The daemon has ended in good order once, and runs again.
expect_runs_after_orderly_end() {
    expect_equal 'started stopped started' "$(grep -o 'started$\|stopped$' "$beats" | xargs)"
    expect_no_line 'level="error"' "$log"
    expect_running
}

# --- Units

# expect_state ACTIVE SUB: the daemon's unit is in this state, in systemd's words.
expect_state() {
    expect_equal "$*" "$(state)"
}

is_in_state() {
    [ "$*" = "$(state)" ]
}

state() {
    echo "$(property ActiveState) $(property SubState)"
}

# property NAME: prints what systemd knows of the daemon's unit.
property() {
    inside systemctl show --value --property="$1" "$daemon"
}
