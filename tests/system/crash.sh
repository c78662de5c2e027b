#!/bin/bash
# A machine loses its power and boots again: the PID file of the earlier boot is stale, and its number belongs to
# another process.
# Usage: crash.sh CHECK

# shellcheck source=machine.sh
. "${BASH_SOURCE[0]%/*}/machine.sh"

# Makes a machine that has crashed while the daemon ran. When it boots again, a process that a signal would
# end gets the old number of the daemon before S90heartbeat is called.
make_crashed_machine() {
    make_machine_in_link_order
    install_heartbeat
    boot
    await_up
    # The restart gives the daemon a number higher than any that the next boot will have used by then.
    stale=$(daemon_pid)
    expect_success inside $script restart
    await_successor "$stale"
    stale=$(daemon_pid)
    crash
    expect_equal "$stale" "$(daemon_pid)"
    add_neighbour "$stale"
}

# add_neighbour PID: makes the boot start processes until one has this number.
add_neighbour() {
    cat >"$root/etc/rc2.d/S89neighbour" <<END
#!/bin/sh
while :; do
    sleep 3600 &
    [ \$! -lt $1 ] || break
    kill \$!
done
echo \$! >/run/neighbour
END
    chmod 755 "$root/etc/rc2.d/S89neighbour"
}

expect_neighbour_untouched() {
    expect_equal "$stale" "$(inside cat /run/neighbour)"
    expect_equal sleep "$(inside cat "/proc/$stale/comm")"
}

check_StalePIDFileDoesNotBlockTheStartAndItsNumberIsNotSignalled() {
    make_crashed_machine

    boot

    await_up
    [ "$(daemon_pid)" != "$stale" ] || fail "the daemon has got its old number"
    expect_neighbour_untouched
    expect_no_line 'level="error"' "$log"
}

check_StopAfterACrashSignalsNobody() {
    make_crashed_machine
    rm "$root"/etc/rc2.d/S90heartbeat
    boot

    expect_success inside $script stop

    expect_neighbour_untouched
    expect_status 1 inside heartbeat status
}

check_StatusAfterACrashSaysThatTheDaemonIsDeadUntilItIsStartedAgain() {
    make_crashed_machine
    rm "$root"/etc/rc2.d/S90heartbeat
    boot

    expect_status 1 inside heartbeat status
    expect_in_output "^heartbeat is dead: .*'$folder/heartbeat.pid'"
    expect_success inside $script start
    expect_in_output '^heartbeat is running'
    expect_running
    expect_success inside $script stop
    expect_not_running
}

check_StatusAfterACrashOfADaemonWhoseControlFolderWasInMemorySaysThatItIsStopped() {
    make_machine_in_link_order
    in_root heartbeat --controlFolder=/run/heartbeat --interval=3600 install
    boot
    expect_running
    crash
    rm "$root"/etc/rc2.d/S90heartbeat

    boot

    expect_status 3 inside heartbeat status
    expect_in_output '^heartbeat does not run\.$'
    expect_success inside $script start
    expect_running
}

check_UninstallAfterACrashSignalsNobody() {
    make_crashed_machine
    rm "$root"/etc/rc2.d/S90heartbeat
    boot

    expect_success inside heartbeat uninstall

    expect_neighbour_untouched
}

check_HaltAfterACrashedBootIsAsCleanAsAnyOther() {
    make_crashed_machine
    boot
    await_up

    power_off

    expect_orderly_end
}

run_check "$@"
