#!/bin/bash
# Other shells run the script, and its links call it.
# Usage: shells.sh CHECK

# shellcheck source=machine.sh
. "${BASH_SOURCE[0]%/*}/machine.sh"

call=()

# What the daemon's program adds to what the script says.
has_stopped='
heartbeat has stopped.'
came_up='
heartbeat: Claiming the PID file
heartbeat: Initializing
heartbeat: Initializing: 1 step done
heartbeat: Initializing: 2 steps done
heartbeat is running (process N).'

make_machine_with_settings() {
    make_machine
    # shellcheck disable=SC2016 # The shells must not expand it either.
    install_heartbeat --runas=root --transientFolderAppID=drumkit --transientFolderGroup=drums \
        --message='grüß  "$dich"'
}

# expect_answer STATUS OUTPUT ERRORS VERB...: calling the script with the verb gives this answer. In its output, N stands
# for every number of a process.
expect_answer() {
    local status=0 answer
    answer=$(in_root "${call[@]}" "${@:4}" 2>"$TMPDIR/errors" | sed 's/process [0-9]*/process N/') || status=$?
    expect_equal "$1:$2:$3" "$status:$answer:$(cat "$TMPDIR/errors")"
}

# expect_all_answers CALL...: the script, called in this way, gives all answers that its text promises.
expect_all_answers() {
    make_machine_with_settings
    call=("$@")
    expect_settings_printed
    expect_usage
    expect_usage status
    expect_usage START

    expect_answer 0 "Starting Heartbeat... $came_up" '' start
    expect_replaced restart
    expect_replaced force-reload
    expect_answer 0 "Stopping Heartbeat... $has_stopped" '' stop
    expect_status 3 in_root heartbeat status
    expect_orderly_end
}

expect_settings_printed() {
    expect_answer 0 $folder '' printControlFolder
    expect_answer 0 root '' printRunAs
    expect_answer 0 drumkit '' printTransientFolderAppID
    expect_answer 0 drums '' printTransientFolderGroup
    expect_answer 0 /usr/local/sbin/heartbeat '' printExePath
    expect_answer 0 '--interval%3D3600 --message%3Dgr%C3%BC%C3%9F%20%20%22%24dich%22' '' printParams
}

# expect_usage VERB...
expect_usage() {
    expect_answer 1 '' "Usage: $script {start|stop|restart|force-reload}" "$@"
}

# expect_replaced VERB
expect_replaced() {
    local pid
    pid=$(daemon_pid)
    expect_answer 0 "Restarting Heartbeat: $has_stopped$came_up" '' "$1"
    [ "$(daemon_pid)" != "$pid" ] || fail "the daemon is still the same process"
}

check_ScriptItselfGivesAllAnswers() {
    expect_all_answers $script
}

check_DashGivesAllAnswers() {
    expect_all_answers dash $script
}

check_BashGivesAllAnswers() {
    expect_all_answers bash $script
}

check_BashAsPOSIXShellGivesAllAnswers() {
    expect_all_answers bash --posix $script
}

check_BusyboxShGivesAllAnswers() {
    expect_all_answers busybox sh $script
}

check_Ksh93GivesAllAnswers() {
    expect_all_answers ksh93 $script
}

check_MkshGivesAllAnswers() {
    expect_all_answers mksh $script
}

check_S90LinkGivesAllAnswers() {
    expect_all_answers /etc/rc2.d/S90heartbeat
}

check_K10LinkGivesAllAnswers() {
    expect_all_answers /etc/rc0.d/K10heartbeat
}

run_check "$@"
