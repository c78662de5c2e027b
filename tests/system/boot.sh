#!/bin/bash
# The boot sequence of sysvinit, with links honoured in their order.
# Usage: boot.sh CHECK

# shellcheck source=machine.sh
. "${BASH_SOURCE[0]%/*}/machine.sh"

make_machine_with_heartbeat() {
    make_machine_in_link_order
    install_heartbeat "$@"
}

# Without it, nothing but the script ends the daemon.
take_sendsigs_away() {
    rm "$root"/etc/rc[06].d/*sendsigs
}

# expect_order FIRST SECOND: the console shows a line that matches FIRST and, after it, one that matches
# SECOND.
expect_order() {
    expect_line "$1" "$console"
    expect_line "$2" <(sed "1,/$1/d" "$console")
}

check_S90LinkStartsTheDaemon() {
    make_machine_with_heartbeat

    boot

    await_up
    expect_line 'Starting Heartbeat' "$console"
    expect_no_line 'level="error"' "$log"
}

check_NothingButTheS90LinkStartsTheDaemon() {
    make_machine_with_heartbeat
    rm "$root"/etc/rc2.d/S90heartbeat

    boot

    expect_not_running
    expect_no_line Heartbeat "$console"
}

check_K10LinkStopsTheDaemonAtHalt() {
    make_machine_with_heartbeat
    take_sendsigs_away
    boot
    await_up

    power_off

    expect_line 'Stopping Heartbeat' "$console"
    expect_orderly_end
}

check_K10LinkStopsTheDaemonAtRebootAndItComesBack() {
    make_machine_with_heartbeat
    take_sendsigs_away
    boot
    await_up

    reboot

    await_up
    expect_line 'Stopping Heartbeat' "$console"
    expect_equal 'started still stopped started still' "$(cut -d ' ' -f 3 "$beats" | xargs)"
    expect_no_line 'level="error"' "$log"
}

check_ScriptStopsTheDaemonBeforeTheSystemSignalsAllProcesses() {
    make_machine_with_heartbeat
    boot
    await_up

    power_off

    expect_order 'Stopping Heartbeat' 'Asking all remaining processes to terminate'
    expect_orderly_end
}

check_SystemsSIGTERMBeforeTheScriptsStopEndsTheDaemonCleanly() {
    make_machine_with_heartbeat
    rename_link 0 S20sendsigs K05sendsigs
    boot
    await_up

    power_off

    expect_order 'Asking all remaining processes to terminate' 'Stopping Heartbeat'
    expect_orderly_end
}

check_SystemsSIGTERMAloneEndsTheDaemonCleanlyWithTodaysNumbersOfHaltLinks() {
    make_machine
    order_by_links
    install_heartbeat
    boot
    await_up

    power_off

    # Processes may survive the halt for a moment, in which the script may still be called.
    expect_line 'Will now halt' "$console"
    expect_no_line 'Stopping Heartbeat' <(sed '/Will now halt/q' "$console")
    expect_orderly_end
}

check_ChangeToAnotherMultiUserLevelLeavesTheDaemonRunning() {
    make_machine_with_heartbeat
    boot
    await_up
    local pid
    pid=$(daemon_pid)

    change_level 3

    expect_line "^heartbeat runs already \(process $pid\)\.$" "$console"
    expect_equal "$pid" "$(daemon_pid)"
    expect_no_line 'level="error"' "$log"
    expect_running
}

check_SingleUserLevelEndsTheDaemonCleanlyAndMultiUserLevelStartsItAgain() {
    make_machine_with_heartbeat
    boot
    await_up
    inside telinit 1
    await "the daemon has ended" test ! -e "$pid_file"
    expect_orderly_end

    change_level 2

    await_up
}

check_DaemonThatIsNotForBootIsStartedByHandAndStoppedAtHalt() {
    make_machine_in_link_order
    take_sendsigs_away
    in_root heartbeat-by-hand --controlFolder=$folder install
    expect_links 0/K10heartbeat 6/K10heartbeat
    boot
    expect_not_running
    expect_success inside $script start
    await_up

    power_off

    expect_orderly_end
}

# expect_account_of_beats PROCESS: its real, effective, saved and file system user, its groups of these kinds,
# and its supplementary groups are those of the account beats.
expect_account_of_beats() {
    local identities
    identities=$(inside sed -n 's/^\(Uid\|Gid\|Groups\):[[:space:]]*//p' "/proc/$1/status" | xargs -n 20)
    expect_equal '61001 61001 61001 61001 61001 61001 61001 61001 61001 61003' "$identities"
}

check_DaemonRunsUnderExactlyItsAccountAndFindsItsTransientFolder() {
    make_machine_with_heartbeat --runas=beats --transientFolderAppID=drumkit --transientFolderGroup=drums

    boot

    await_up
    local pid environment
    pid=$(daemon_pid)
    expect_account_of_beats "$pid"
    expect_equal '61001:61002 750' "$(inside stat -c '%u:%g %a' /run/drumkit)"
    environment=$(inside cat "/proc/$pid/environ" | tr '\0' '\n')
    expect_equal "HOME=/home/beats LOGNAME=beats SHELL=/bin/sh USER=beats" \
        "$(grep -E '^(HOME|LOGNAME|SHELL|USER)=' <<<"$environment" | sort | xargs)"
    expect_no_line root <(echo "$environment")
    power_off
    expect_orderly_end
    expect_no_line 'level="error"' "$root/home/beats/.local/state/heartbeat/heartbeat.log"
}

check_RestartKeepsTheAccountAndMakesTheTransientFolderAgain() {
    make_machine_with_heartbeat --runas=beats --transientFolderAppID=drumkit --transientFolderGroup=drums
    boot
    await_up
    local pid
    pid=$(daemon_pid)
    inside rm -r /run/drumkit

    expect_success inside $script restart

    await_successor "$pid"
    expect_account_of_beats "$(daemon_pid)"
    expect_equal '61001:61002 750' "$(inside stat -c '%u:%g %a' /run/drumkit)"
}

check_DaemonThatMayNotWriteItsControlFolderSaysSoOnTheConsoleAndInTheLogOfItsAccount() {
    make_machine_with_heartbeat --runas=beats
    in_root chown root: $folder

    boot

    local accounts_log=/home/beats/.local/state/heartbeat/heartbeat.log
    expect_line "FATAL ERROR: .*$folder/heartbeat.pid.* Its log: $accounts_log$" "$console"
    expect_line "level=\"error\".*$folder/heartbeat.pid" "$root$accounts_log"
    expect_not_running
}

check_StartThatFailsSaysSoOnTheConsoleAndInTheLog() {
    make_machine_with_heartbeat --runas=beats
    sed -i /^beats:/d "$root/etc/passwd"

    boot

    expect_line 'FATAL ERROR: .*beats' "$console"
    expect_line 'level="error".*beats' "$log"
    expect_not_running
}

check_BootOnIsTheOnlyStepAfterInstall() {
    make_machine_in_link_order
    in_root heartbeat-by-hand --controlFolder=$folder install
    expect_status 3 in_root dmnctl boot heartbeat

    expect_success in_root dmnctl boot heartbeat on

    expect_links 0/K10heartbeat 2/S90heartbeat 3/S90heartbeat 4/S90heartbeat 5/S90heartbeat 6/K10heartbeat
    expect_success in_root dmnctl boot heartbeat
    boot
    await_up
    expect_line 'Starting Heartbeat' "$console"
}

check_BootOffKeepsTheDaemonFromStarting() {
    make_machine_with_heartbeat

    expect_success in_root dmnctl boot heartbeat off

    expect_links 0/K10heartbeat 6/K10heartbeat
    expect_status 3 in_root dmnctl boot heartbeat
    boot
    expect_not_running
}

run_check "$@"
