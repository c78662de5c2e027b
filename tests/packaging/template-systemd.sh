#!/bin/bash
# The Debian package of a daemon that was made from the template, on machines with systemd.
# Usage: template-systemd.sh CHECK

# shellcheck source=weatherd.sh
. "${BASH_SOURCE[0]%/*}/weatherd.sh"
# shellcheck source=../system/with-systemd.sh
. "$here/with-systemd.sh"

# shellcheck disable=SC2034 # with-systemd.sh uses it.
daemon=weatherd
unit=/etc/systemd/system/weatherd.service

make_machine_with_package() {
    make_machine_with_systemd template runtime-systemd
}

check_InstallationStartsTheDaemonUnderItsAccount() {
    make_machine_with_package

    boot_and_install

    expect_equal 'weatherd weatherd' "$(inside stat -c '%U %G' "/proc/$(daemon_pid)")"
    expect_state active running
    expect_equal $unit "$(property FragmentPath)"
    await "the daemon does its work" grep -q 'weatherd is there' "$log"
}

check_DaemonStopsAtARebootAndIsBackAfterIt() {
    make_machine_with_package
    boot_and_install

    reboot

    await_up
    expect_state active running
    expect_line 'Finished command. Returning exit code 0' "$log"
    expect_no_line 'level="error"' "$log"
}

check_DaemonIsThereAtOnceAndAfterARebootWhereSystemdReadsNoScripts() {
    make_machine_with_package
    rm -f "$root$generator"
    boot_and_install

    reboot

    await_up
}

check_RemovalStopsAndUninstallsTheDaemon() {
    make_machine_with_package
    boot_and_install

    expect_success apt_inside remove weatherd

    expect_absent "$pid_file"
    expect_absent "$root$script"
    expect_absent "$root$unit"
    expect_equal not-found "$(property LoadState)"
    expect_no_line 'level="error"' "$log"
    expect_success inside test -d $folder
}

check_PurgeLeavesNothing() {
    make_machine_with_package
    boot
    expect_purge_to_leave_nothing
}

check_UpgradeRestartsTheDaemonAndLeavesItOffAtBoot() {
    make_machine_with_package
    boot_and_install
    local pid
    pid=$(daemon_pid)
    expect_success apt_inside install --reinstall "$package"
    await_successor "$pid"
    expect_success inside dmnctl boot weatherd off

    expect_success apt_inside install --reinstall "$package"

    expect_absent "$root$unit"
    reboot
    expect_absent "$pid_file"
}

check_PolicyAgainstStartingIsHonoured() {
    make_machine_with_package
    boot
    forbid_starting

    expect_success apt_inside install "$package"

    expect_absent "$pid_file"
    allow_starting
    reboot
    await_up
}

check_InstallationOfADaemonThatDoesNotComeUpSaysWhyAndSucceeds() {
    make_machine_with_package
    boot
    keep_daemon_from_coming_up

    expect_success apt_inside install "$package"

    expect_in_output "$folder/weatherd.pid"
}

check_DaemonThatIsInstalledWhereNoInitRunsIsStartedAtBoot() {
    make_machine_with_package
    expect_success apt install "$package"
    expect_absent "$pid_file"

    boot

    await_up
    expect_state active running
}

run_check "$@"
