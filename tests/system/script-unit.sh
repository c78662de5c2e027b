#!/bin/bash
# systemd as process 1 runs a daemon by its init script, as it did up to release 259.
# Usage: script-unit.sh CHECK

# shellcheck source=machine.sh
. "${BASH_SOURCE[0]%/*}/machine.sh"
# shellcheck source=with-systemd.sh
. "${BASH_SOURCE[0]%/*}/with-systemd.sh"

make_machine_that_reads_scripts() {
    make_machine_with_systemd
    [ -e "$root$generator" ] || give_up "needs a systemd that reads init scripts, as it did up to release 259"
}

make_machine_with_heartbeat() {
    make_machine_that_reads_scripts
    install_heartbeat "$@"
}

# crash_daemon: kills it, and waits until systemd has noticed.
crash_daemon() {
    kill_daemon
    await "the unit has no process" is_in_state active exited
}

check_DaemonIsStartedAtBootAndEndsInGoodOrderAtPowerOff() {
    make_machine_with_heartbeat

    boot

    expect_running
    expect_state active running
    expect_equal "$script" "$(property SourcePath)"
    power_off
    expect_line "Performing command 'stop'" "$log"
    expect_orderly_end
}

check_DaemonIsBackAfterAReboot() {
    make_machine_with_heartbeat
    boot

    reboot

    expect_runs_after_orderly_end
}

check_DaemonRunsUnderItsAccountWithItsFolderAndItsParameters() {
    make_machine_with_heartbeat --runas=beats --transientFolderAppID=drumkit --transientFolderGroup=drums \
        --message='boom boom'

    boot

    expect_running
    expect_equal 'beats beats' "$(inside stat -c '%U %G' "/proc/$(daemon_pid)")"
    expect_equal 'beats:drums 750' "$(inside stat -c '%U:%G %a' /run/drumkit)"
    await "the daemon does its work" grep -q ' boom boom$' "$beats"
}

check_DaemonThatIsNotForBootIsStartedByHand() {
    make_machine_that_reads_scripts
    in_root heartbeat-by-hand --controlFolder=$folder install
    boot
    expect_not_running

    expect_success inside systemctl start heartbeat

    expect_running
}

check_DaemonThatIsInstalledLaterIsKnownAfterAReload() {
    make_machine_that_reads_scripts
    boot
    inside heartbeat --controlFolder=$folder install
    expect_status 5 inside systemctl start heartbeat

    expect_success inside systemctl daemon-reload

    expect_success inside systemctl start heartbeat
    expect_running
}

check_UnitOfADaemonThatCrashedStaysActiveAndIsNotStartedAgain() {
    make_machine_with_heartbeat
    boot
    crash_daemon

    expect_success inside systemctl start heartbeat

    expect_state active exited
    expect_status 1 inside heartbeat status
}

check_RestartOfItsUnitStartsADaemonThatCrashed() {
    make_machine_with_heartbeat
    boot
    crash_daemon

    expect_success inside systemctl restart heartbeat

    expect_running
    expect_state active running
}

check_UnitOfADaemonThatDoesNotComeUpIsActiveAllTheSame() {
    make_machine_with_heartbeat --runas=beats
    in_root chown root: $folder

    boot

    expect_state active exited
    expect_not_running
    inside journalctl --unit=heartbeat >"$TMPDIR/journal"
    expect_line "FATAL ERROR: .*$folder/heartbeat.pid" "$TMPDIR/journal"
}

check_UnitDoesNotKnowADaemonThatWasStartedByHandAndPowerOffEndsItInGoodOrder() {
    make_machine_that_reads_scripts
    in_root heartbeat-by-hand --controlFolder=$folder install
    boot
    expect_success inside heartbeat start
    expect_state inactive dead

    power_off

    expect_no_line "Performing command 'stop'" "$log"
    expect_orderly_end
}

run_check "$@"
