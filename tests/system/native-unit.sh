#!/bin/bash
# systemd as process 1 runs a daemon by the native unit that dmnctl has written.
# Usage: native-unit.sh CHECK

# shellcheck source=machine.sh
. "${BASH_SOURCE[0]%/*}/machine.sh"
# shellcheck source=with-systemd.sh
. "${BASH_SOURCE[0]%/*}/with-systemd.sh"

# boot_with_unit [OPTION...]: boots a machine, and installs the daemon in it.
boot_with_unit() {
    make_machine_with_systemd
    boot
    expect_success inside $daemon --controlFolder="$folder" "$@" install
    expect_success inside dmnctl boot $daemon on
}

boot_with_heartbeat() {
    boot_with_unit --interval=3600 "$@"
    start
}

boot_with_latecomer() {
    # shellcheck disable=SC2034 # machine.sh uses it.
    daemon=latecomer
    folder=/var/lib/latecomer
    pid_file=$root$folder/latecomer.pid
    log=$root/var/log/latecomer/latecomer.log
    boot_with_unit
}

start() {
    expect_success inside systemctl start $daemon
}

# expect_in_unit PID: systemd knows this process as the unit's main one, and keeps it in the unit's cgroup.
expect_in_unit() {
    expect_equal "$1" "$(property MainPID)"
    expect_equal "/system.slice/$daemon.service" "$(property ControlGroup)"
    expect_line "^$1$" <(inside cat "/sys/fs/cgroup/system.slice/$daemon.service/cgroup.procs")
}

check_StartReturnsWhenTheDaemonIsReady() {
    boot_with_latecomer

    start

    expect_success test -e "$root$folder/open"
    expect_state active running
    expect_equal Running "$(property StatusText)"
}

check_StartOfADaemonWhoseInitThrowsFailsAndTheStatusShowsTheError() {
    boot_with_latecomer
    echo 'The till is locked.' >"$root$folder/trouble"

    expect_status 1 inside systemctl start $daemon

    expect_status 3 inside systemctl status $daemon
    expect_in_output '^ *Status: ".*The till is locked\.'
    expect_in_output 'status=2'
}

check_DaemonWhoseInitThrowsIsStartedAgainUntilItComesUp() {
    boot_with_latecomer
    echo 'The till is locked.' >"$root$folder/trouble"
    expect_status 1 inside systemctl start $daemon

    rm "$root$folder/trouble"

    await "the daemon is ready" is_in_state active running
    expect_running
}

check_KilledDaemonComesBack() {
    boot_with_heartbeat
    local pid
    pid=$(daemon_pid)

    kill_daemon

    await_successor "$pid"
    await "systemd knows that it is ready" is_in_state active running
    expect_equal 1 "$(property NRestarts)"
}

check_StopEndsTheDaemonInGoodOrder() {
    boot_with_heartbeat

    expect_success inside systemctl stop $daemon

    expect_orderly_end
    expect_state inactive dead
}

check_DaemonThatIsStoppedByHandStaysStopped() {
    boot_with_heartbeat

    expect_success inside heartbeat stop

    await "systemd has noticed" is_in_state inactive dead
    expect_orderly_end
}

check_RestartEndsTheDaemonInGoodOrderAndStartsItAgain() {
    boot_with_heartbeat

    expect_success inside systemctl restart $daemon

    expect_runs_after_orderly_end
}

check_PowerOffEndsTheDaemonInGoodOrder() {
    boot_with_heartbeat

    power_off

    expect_orderly_end
    expect_line 'Finished command. Returning exit code 0\.' <(tail -n 1 "$log")
}

check_ReloadHasTheDaemonReadItsSettingsAgain() {
    boot_with_latecomer
    start
    local pid
    pid=$(daemon_pid)

    expect_success inside systemctl reload $daemon

    await "the daemon has read its settings" grep -q 'The latecomer has read its settings\.' "$log"
    expect_equal "$pid" "$(daemon_pid)"
    expect_state active running
}

check_DaemonIsStartedAtBoot() {
    boot_with_unit --interval=3600

    reboot

    expect_running
    expect_in_unit "$(inside heartbeat status | grep -o '[0-9]\+')"
    expect_equal "/etc/systemd/system/heartbeat.service" "$(property FragmentPath)"
}

check_DaemonIsStartedAtBootBySystemdThatReadsNoScripts() {
    make_machine_with_systemd
    rm -f "$root$generator"
    boot
    expect_success inside heartbeat --controlFolder="$folder" --interval=3600 install
    inside systemctl daemon-reload
    expect_equal not-found "$(property LoadState)"
    expect_success inside dmnctl boot heartbeat on

    reboot

    expect_running
}

# As on a machine that has had the daemon for long.
boot_with_heartbeat_that_the_script_started() {
    make_machine_with_systemd
    [ -e "$root$generator" ] || give_up "needs a systemd that reads init scripts, as it did up to release 259"
    install_heartbeat
    boot
    expect_running
}

check_DaemonThatTheScriptStartedEndsInGoodOrderAtTheRebootThatMakesTheUnitsOwn() {
    boot_with_heartbeat_that_the_script_started
    expect_success inside dmnctl boot heartbeat on

    reboot

    expect_runs_after_orderly_end
    expect_in_unit "$(daemon_pid)"
}

check_DaemonThatTheScriptStartedIsTakenOverByARestart() {
    boot_with_heartbeat_that_the_script_started
    expect_success inside dmnctl boot heartbeat on

    expect_success inside dmnctl restart heartbeat

    expect_runs_after_orderly_end
    expect_in_unit "$(daemon_pid)"
}

check_DaemonIsBackAfterALossOfPower() {
    boot_with_heartbeat
    crash
    expect_success test -e "$pid_file"

    boot

    expect_running
    expect_state active running
}

check_UnitOfADaemonThatIsSwitchedOffIsGone() {
    boot_with_unit

    expect_success inside dmnctl boot heartbeat off

    expect_absent "$root/etc/systemd/system/heartbeat.service"
    expect_absent "$root/etc/systemd/system/multi-user.target.wants/heartbeat.service"
    reboot
    expect_not_running
}

check_DaemonThatIsSwitchedOffWhileItRunsEndsInGoodOrderAtPowerOff() {
    boot_with_heartbeat
    expect_success inside dmnctl boot heartbeat off
    expect_running

    power_off

    expect_orderly_end
}

check_DaemonThatIsSwitchedOffWhileItRunsCanBeStopped() {
    boot_with_heartbeat
    expect_success inside dmnctl boot heartbeat off

    expect_success inside dmnctl stop heartbeat

    expect_orderly_end
}

check_DaemonRunsUnderItsAccountWithItsFolderAndItsParameters() {
    boot_with_heartbeat --runas=beats --transientFolderAppID=drumkit --transientFolderGroup=drums \
        --message='boom  50% "boom"'

    expect_equal 'beats beats' "$(inside stat -c '%U %G' "/proc/$(daemon_pid)")"
    expect_equal 'beats:drums 750' "$(inside stat -c '%U:%G %a' /run/drumkit)"
    await "the daemon does its work" grep -qF 'boom  50% "boom"' "$beats"
    expect_success inside systemctl stop $daemon
    expect_equal stopped "$(tail -n 1 "$beats" | cut -d ' ' -f 3)"
    expect_absent "$pid_file"
}

check_DaemonHasTheFolderOfItsAccountsOwnGroup() {
    boot_with_heartbeat --runas=beats --transientFolderAppID=drumkit

    expect_equal 'beats:beats 750' "$(inside stat -c '%U:%G %a' /run/drumkit)"
}

check_CommandsOfDmnctlGoThroughTheUnit() {
    boot_with_unit --interval=3600

    expect_success inside dmnctl start heartbeat

    expect_in_unit "$(daemon_pid)"
    expect_state active running
    expect_success inside dmnctl status heartbeat
    expect_in_output "^heartbeat is running \(process $(daemon_pid)\)\.$"
    local pid
    pid=$(daemon_pid)
    expect_success inside dmnctl restart heartbeat
    await_successor "$pid"
    expect_in_unit "$(daemon_pid)"
    expect_success inside dmnctl stop heartbeat
    expect_state inactive dead
    expect_orderly_end
    expect_status 3 inside dmnctl status heartbeat
}

check_StartByDmnctlThatFailsShowsTheError() {
    boot_with_latecomer
    echo 'The till is locked.' >"$root$folder/trouble"

    expect_status 2 inside dmnctl start $daemon

    expect_in_output 'The till is locked\.'
}

check_UnitPassesSystemdsOwnVerification() {
    boot_with_unit

    expect_success inside systemd-analyze --man=no verify /etc/systemd/system/heartbeat.service
    expect_equal '' "$output"
}

check_ParametersReachTheDaemonAsTheyAre() {
    local parameter=$'--message=two  words $HOME ${HOME} $$ %n %% \\x41 "q" \'q\' `id` ; \t\xc3\xbc\\'
    boot_with_heartbeat "$parameter"

    expect_equal "$parameter" "$(inside cat "/proc/$(daemon_pid)/cmdline" | tail -z -n 1 | tr -d '\0')"
    expect_success inside systemd-analyze --man=no verify /etc/systemd/system/heartbeat.service
    expect_equal '' "$output"
}

check_StartByHandSaysThatTheDaemonRunsAlready() {
    boot_with_heartbeat
    local pid
    pid=$(daemon_pid)

    for command in "heartbeat start" "$script start" "dmnctl start heartbeat"; do
        # shellcheck disable=SC2086 # These are several words.
        expect_success inside $command
        expect_in_output "runs already|is running already"
    done

    expect_equal "$pid" "$(daemon_pid)"
    expect_state active running
}

check_DaemonThatRunsOutsideItsUnitIsLeftAloneAndBootOnSaysHowToMoveIt() {
    make_machine_with_systemd
    boot
    expect_success inside heartbeat --controlFolder="$folder" --interval=3600 install
    expect_success inside heartbeat start
    local pid
    pid=$(daemon_pid)

    expect_success inside dmnctl boot heartbeat on

    expect_in_output "^heartbeat runs outside its unit \(process $pid\)\."
    expect_equal "$pid" "$(daemon_pid)"
    expect_success inside sh -c "$(sed -n 's/.* or, now, by: //p' <<<"$output")"
    expect_runs_after_orderly_end
    expect_in_unit "$(daemon_pid)"
}

check_UnitThatIsWrittenWhileTheMachineIsOffStartsTheDaemonAtBoot() {
    make_machine_with_systemd
    ln -sf /lib/systemd/systemd "$root/sbin/init"
    rm "$root/etc/inittab"
    expect_success in_root heartbeat-by-hand --controlFolder=$folder install

    expect_success in_root dmnctl boot heartbeat on

    boot
    expect_running
    expect_in_unit "$(daemon_pid)"
}

run_check "$@"
