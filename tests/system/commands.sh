#!/bin/bash
# The commands that administrators use besides the script itself: they know it only by its verbs and links.
# Usage: commands.sh CHECK

# shellcheck source=machine.sh
. "${BASH_SOURCE[0]%/*}/machine.sh"

usage='Usage: /etc/init.d/heartbeat \{start\|stop\|restart\|force-reload\}'
links_of_install=(0/K10heartbeat 2/S90heartbeat 3/S90heartbeat 4/S90heartbeat 5/S90heartbeat 6/K10heartbeat)
links_of_insserv=(0/K01heartbeat 2/S01heartbeat 3/S01heartbeat 4/S01heartbeat 5/S01heartbeat 6/K01heartbeat)

make_running_machine() {
    make_machine_in_link_order
    install_heartbeat
    boot
    await_up
}

# expect_start_stop_and_restart COMMAND...: the command, with the verb after it, stops, starts and restarts
# the daemon.
expect_start_stop_and_restart() {
    expect_success inside "$@" stop
    expect_in_output 'Stopping Heartbeat'
    expect_not_running

    expect_success inside "$@" start
    expect_in_output 'Starting Heartbeat'
    await_up

    local pid
    pid=$(daemon_pid)
    expect_success inside "$@" restart
    expect_in_output 'Restarting Heartbeat'
    await_successor "$pid"
    expect_no_line 'level="error"' "$log"
}

check_ServiceStartsStopsAndRestarts() {
    make_running_machine
    expect_start_stop_and_restart service heartbeat
}

check_InvokeRcDStartsStopsAndRestarts() {
    make_running_machine
    expect_start_stop_and_restart invoke-rc.d heartbeat
}

check_InvokeRcDDoesNotStartWhatIsNotLinkedForTheRunLevel() {
    make_running_machine
    expect_success inside invoke-rc.d heartbeat stop
    rm "$root"/etc/rc2.d/S90heartbeat

    expect_success inside invoke-rc.d heartbeat start

    expect_in_output '^$'
    expect_not_running
}

check_ServiceAndInvokeRcDGetTheUsageWhenTheyAskForTheStatus() {
    make_running_machine

    expect_status 1 inside service heartbeat status
    expect_in_output "^$usage$"
    expect_status 1 inside invoke-rc.d heartbeat status
    expect_in_output "^$usage$"
    expect_success inside service --status-all
    expect_in_output '\[ \? ]  heartbeat'
    expect_running
}

check_UpdateRcDRefusesToDisableAndEnableForLackOfAHeader() {
    make_running_machine

    for verb in disable enable; do
        expect_status 1 inside update-rc.d heartbeat $verb
        expect_in_output 'heartbeat Default-Start contains no runlevels, aborting'
        expect_links "${links_of_install[@]}"
    done
}

check_UpdateRcDRemovesAllLinksAndDoesNotMakeThemAgain() {
    make_running_machine
    expect_success inside update-rc.d -f heartbeat remove
    expect_links

    expect_success inside update-rc.d heartbeat defaults

    expect_in_output 'Default-Start undefined, assuming empty start runlevel'
    expect_links
    expect_running
}

check_InstallBringsLinksBackThatUpdateRcDRemoved() {
    make_running_machine
    expect_success inside update-rc.d -f heartbeat remove

    expect_success inside heartbeat --controlFolder=$folder install

    expect_links "${links_of_install[@]}"
}

check_UninstallRemovesTheLinksThatInsservRenumbered() {
    make_machine
    install_heartbeat
    expect_success in_root insserv
    expect_in_output "script 'heartbeat' missing LSB tags"
    expect_links "${links_of_insserv[@]}"

    expect_success in_root heartbeat uninstall

    expect_links
    expect_absent "$root$script"
}

check_InsservWithoutDependencyFilesMakesThemAndTheDaemonStartsAndStopsByThem() {
    make_machine
    order_by_links
    install_heartbeat

    expect_success in_root insserv

    expect_links "${links_of_insserv[@]}"
    expect_line heartbeat "$root/etc/init.d/.depend.start"
    boot
    await_up
    power_off
    expect_line 'makefile-style concurrent boot' "$console"
    expect_line 'Stopping Heartbeat' "$console"
    expect_orderly_end
}

check_InsservMakesNoLinksForAScriptThatHasNone() {
    make_machine
    install_heartbeat
    rm "$root"/etc/rc?.d/*heartbeat

    expect_success in_root insserv heartbeat

    expect_in_output 'Default-Start undefined, assuming empty start runlevel'
    expect_links
}

# lsb COMMAND: runs the command as a line of an init script that uses the functions of the LSB.
lsb() {
    inside sh -c ". /lib/lsb/init-functions; $1"
}

# expect_all_say STATUS: every tool answers with this status, as heartbeat itself does.
expect_all_say() {
    expect_status "$1" inside heartbeat status
    expect_status "$1" inside start-stop-daemon --status --pidfile $folder/heartbeat.pid
    expect_status "$1" inside chroot --userspec=beats / \
        start-stop-daemon --status --pidfile $folder/heartbeat.pid
    expect_status "$1" lsb "status_of_proc -p $folder/heartbeat.pid /usr/local/sbin/heartbeat heartbeat"
    expect_status "$1" lsb "pidofproc -p $folder/heartbeat.pid heartbeat"
}

check_StartStopDaemonAndTheFunctionsOfTheLSBAgreeThatTheDaemonRuns() {
    make_running_machine

    expect_all_say 0

    expect_in_output "^$(daemon_pid)$"
}

check_StartStopDaemonAndTheFunctionsOfTheLSBAgreeThatTheDaemonIsStopped() {
    make_running_machine
    expect_success inside $script stop

    expect_all_say 3
}

check_StartStopDaemonAndTheFunctionsOfTheLSBAgreeThatTheDaemonWasKilled() {
    make_running_machine
    local pid
    pid=$(daemon_pid)

    kill_daemon

    # Other tools take the process for alive until its parent, init, has noticed its end.
    await "init has noticed the end" test ! -e "/proc/$init/root/proc/$pid"
    expect_all_say 1
}

# supervise COMMAND...: runs the command in the machine as a service's supervisor does (sd_notify(3)), and keeps what the
# supervisor was told.
supervise() {
    expect_success inside supervise sh -c '"$@" >/dev/null' sh "$@"
    told=$output
}

# The supervisor listens until the daemon has ended.
check_SupervisorOfTheShellThatStartsTheDaemonHearsNothingOfIt() {
    make_running_machine
    expect_success inside $script stop

    local start
    for start in "heartbeat start" "heartbeat --no-wait start" "$script start" "$script restart"; do
        supervise sh -c "$start && until heartbeat status; do :; done; heartbeat stop"
        expect_equal '' "$told"
    done
}

check_SupervisorOfTheDaemonItselfHearsAllOfIt() {
    make_machine_in_link_order
    boot
    # shellcheck disable=SC2016 # The shell in the machine expands it.
    supervise sh -c 'heartbeat "$@" run & until heartbeat "$@" status; do :; done; heartbeat "$@" stop; wait' \
        sh --controlFolder=$folder

    expect_line '^STATUS=Initializing$' <(echo "$told")
    expect_line '^READY=1$' <(echo "$told")
    expect_line '^STOPPING=1$' <(echo "$told")
}

run_check "$@"
