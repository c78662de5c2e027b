#!/bin/bash
# The boot sequence waits for a daemon until it is ready, but not for one that does not come up.
# Usage: readiness.sh CHECK

# shellcheck source=machine.sh
. "${BASH_SOURCE[0]%/*}/machine.sh"

# shellcheck disable=SC2034 # machine.sh uses it.
daemon=latecomer
folder=/var/lib/latecomer
pid_file=$root$folder/latecomer.pid
log=$root/var/log/latecomer/latecomer.log

found=$root/found-by-follower

make_machine_with_latecomer_in_link_order() {
    make_machine_in_link_order
    install_latecomer
    add_follower
    ln -s ../init.d/follower "$root/etc/rc2.d/S91follower"
}

make_machine_with_latecomer_in_dependency_order() {
    make_machine
    install_latecomer
    add_follower
    expect_success in_root update-rc.d latecomer defaults
    expect_success in_root update-rc.d follower defaults
}

install_latecomer() {
    expect_success in_root latecomer --controlFolder=$folder install
}

# A script that comes after that of the daemon, and writes down how it finds the daemon.
add_follower() {
    cat >"$root/etc/init.d/follower" <<END
#!/bin/sh
### BEGIN INIT INFO
# Provides:       follower
# Required-Start: latecomer
# Required-Stop:
# Default-Start:  2 3 4 5
# Default-Stop:
### END INIT INFO
{
    /usr/local/sbin/latecomer status
    echo "status \$?"
    ls $folder
} >/${found##*/} 2>&1
END
    chmod 755 "$root/etc/init.d/follower"
}

expect_found_ready() {
    expect_line '^latecomer is running \(process [0-9]+\)\.$' "$found"
    expect_line '^status 0$' "$found"
    expect_line '^open$' "$found"
}

# expect_found_not_open STATUS: the script after the daemon's was called, and found it with this status and not open.
expect_found_not_open() {
    expect_line "^status $1$" "$found"
    expect_no_line '^open$' "$found"
}

check_ScriptAfterTheDaemonsFindsItReadyInLinkOrder() {
    make_machine_with_latecomer_in_link_order

    boot

    expect_found_ready
    expect_line "^latecomer is running \(process $(daemon_pid)\)\.$" "$console"
}

check_ScriptThatRequiresTheDaemonFindsItReadyInDependencyOrder() {
    make_machine_with_latecomer_in_dependency_order

    boot

    expect_found_ready
}

check_ConsoleShowsTheStepsOfTheInitialization() {
    make_machine_with_latecomer_in_link_order

    boot

    expect_line '^latecomer: Initializing$' "$console"
    expect_line '^latecomer: Initializing: 1 steps? done$' "$console"
}

# expect_failure_told: the console says why the daemon has failed, and the boot has gone on.
expect_failure_told() {
    expect_line 'FATAL ERROR: .*latecomer.* The till is locked\. .*status 2' "$console"
    expect_line "Its log: ${log#"$root"}$" "$console"
    expect_found_not_open 3
}

check_FailureInInitIsToldOnTheConsoleAndTheBootGoesOnInLinkOrder() {
    make_machine_with_latecomer_in_link_order
    echo 'The till is locked.' >"$root$folder/trouble"

    boot

    expect_failure_told
}

check_FailureInInitIsToldOnTheConsoleAndTheBootGoesOnInDependencyOrder() {
    make_machine_with_latecomer_in_dependency_order
    echo 'The till is locked.' >"$root$folder/trouble"

    boot

    expect_failure_told
}

# The daemon's front end waits for three seconds.
check_BootWaitsForADaemonThatHangsOnlyUntilTheTimeIsOver() {
    make_machine_with_latecomer_in_link_order
    : >"$root$folder/trouble"

    boot

    expect_line "FATAL ERROR: .*latecomer.* not ready after 3 .*process $(daemon_pid) goes on" "$console"
    expect_found_not_open 0
}

check_DaemonThatHangsIsStoppedAtHalt() {
    make_machine_with_latecomer_in_link_order
    rm "$root"/etc/rc0.d/*sendsigs
    : >"$root$folder/trouble"
    boot

    power_off

    expect_line 'latecomer has stopped\.' "$console"
    expect_absent "$pid_file"
}

check_HaltWaitsForTheEndOfTheDaemon() {
    make_machine_with_latecomer_in_link_order
    rm "$root"/etc/rc0.d/*sendsigs
    boot

    power_off

    expect_line 'latecomer has stopped\.' "$console"
    expect_absent "$root$folder/open"
    expect_absent "$pid_file"
    expect_no_line 'level="error"' "$log"
}

run_check "$@"
