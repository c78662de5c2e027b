#!/bin/bash
# monit, set up as the guide shows: it knows the daemon by its PID file and two verbs of its script.
# Usage: monitor.sh CHECK

# shellcheck source=machine.sh
. "${BASH_SOURCE[0]%/*}/machine.sh"

monits_log=$root/var/log/monit.log

make_monitored_machine() {
    make_machine_in_link_order monit
    install_heartbeat
    write_control_file >"$root/etc/monit/monitrc"
    chmod 600 "$root/etc/monit/monitrc"
    boot
    await_up
    expect_success inside monit
    await "monit has seen the daemon" monit_says '^ +heartbeat +OK'
}

write_control_file() {
    cat <<END
set daemon 1
set log /var/log/monit.log
set pidfile /run/monit.pid
set statefile /run/monit.state
set idfile /run/monit.id
set httpd unixsocket /run/monit.sock
    allow root:root

END
    from_guide "check process" " *stop program"
}

# monit_says PATTERN
monit_says() {
    inside monit -B summary | grep -Eq "$1"
}

check_KilledDaemonIsBroughtBack() {
    make_monitored_machine
    local pid
    pid=$(daemon_pid)

    kill_daemon

    await_successor "$pid"
    await "monit has seen the new daemon" monit_says '^ +heartbeat +OK'
    expect_line "'heartbeat' process is not running" "$monits_log"
    expect_no_line 'level="error"' "$log"
}

check_DaemonIsStoppedAndStartedWhenToldSo() {
    make_monitored_machine

    expect_success inside monit stop heartbeat

    await "the daemon has stopped" test ! -e "$pid_file"
    await "monit no longer watches" monit_says '^ +heartbeat +Not monitored'
    expect_orderly_end
    expect_success inside monit start heartbeat
    await_up
    await "monit watches again" monit_says '^ +heartbeat +OK'
}

run_check "$@"
