#!/bin/bash
# The Debian package of a daemon that was made from the template, on machines with sysvinit.
# Usage: template.sh CHECK

# shellcheck source=weatherd.sh
. "${BASH_SOURCE[0]%/*}/weatherd.sh"

# links: prints all links to the daemon's script, as LEVEL/NAME.
links() {
    (cd "$root/etc" && find . -path './rc?.d/*weatherd' | sed 's,^./rc\(.\).d,\1,' | sort | xargs)
}

check_InstallationStartsTheDaemonUnderItsAccount() {
    make_machine template runtime sysvinit

    boot_and_install

    expect_equal 'weatherd weatherd' "$(inside stat -c '%U %G' "/proc/$(daemon_pid)")"
    expect_equal '0/K01weatherd 2/S01weatherd 3/S01weatherd 4/S01weatherd 5/S01weatherd 6/K01weatherd' "$(links)"
    await "the daemon does its work" grep -q 'weatherd is there' "$log"
}

check_DaemonStopsAtARebootAndIsBackAfterIt() {
    make_machine template runtime sysvinit
    boot_and_install

    reboot

    await_up
    expect_line 'Finished command. Returning exit code 0' "$log"
    expect_no_line 'level="error"' "$log"
}

check_LinksKeepTheirOrderWhereTheyAreHonoured() {
    make_machine template runtime sysvinit
    order_by_links
    number_halt_links_historically
    boot_and_install

    expect_equal '0/K10weatherd 2/S90weatherd 3/S90weatherd 4/S90weatherd 5/S90weatherd 6/K10weatherd' "$(links)"
    expect_absent "$root/etc/init.d/.depend.start"
    reboot
    await_up
    expect_success apt_inside remove weatherd
    expect_absent "$root/etc/init.d/.depend.start"
}

check_RemovalStopsAndUninstallsTheDaemon() {
    make_machine template runtime sysvinit
    boot_and_install

    expect_success apt_inside remove weatherd

    expect_absent "$pid_file"
    expect_absent "$root$script"
    expect_equal '' "$(links)"
    expect_no_line weatherd <(cat "$root"/etc/init.d/.depend.*)
    expect_no_line 'level="error"' "$log"
    expect_success inside test -d $folder
}

check_PurgeLeavesNothing() {
    make_machine template runtime sysvinit
    boot
    expect_purge_to_leave_nothing
}

check_InstallationAfterARemovalStartsTheDaemonAgain() {
    make_machine template runtime sysvinit
    boot_and_install
    expect_success apt_inside remove weatherd

    expect_success apt_inside install "$package"

    await_up
}

check_UpgradeRestartsTheDaemonAndKeepsItsSettings() {
    make_machine template runtime sysvinit
    boot_and_install
    local pid
    pid=$(daemon_pid)
    inside weatherd install --controlFolder=$folder --runas=weatherd --transientFolderAppID=weather

    expect_success apt_inside install --reinstall "$package"

    await_successor "$pid"
    expect_equal weather "$(inside $script printTransientFolderAppID)"
    expect_equal '0/K01weatherd 2/S01weatherd 3/S01weatherd 4/S01weatherd 5/S01weatherd 6/K01weatherd' "$(links)"
}

check_PolicyAgainstStartingIsHonoured() {
    make_machine template runtime sysvinit
    boot
    forbid_starting

    expect_success apt_inside install "$package"

    expect_absent "$pid_file"
    allow_starting
    reboot
    await_up
}

check_InstallationOfADaemonThatDoesNotComeUpSaysWhyAndSucceeds() {
    make_machine template runtime sysvinit
    boot
    keep_daemon_from_coming_up

    expect_success apt_inside install "$package"

    expect_in_output "FATAL ERROR: .*$folder/weatherd.pid"
}

check_InstallationThatFailsSaysWhyAndCanBePurged() {
    make_machine template runtime sysvinit
    boot
    touch "$root$folder"

    expect_status 100 apt_inside install "$package"

    expect_in_output 'FATAL ERROR: weatherd was not installed'
    expect_in_output "The control folder '$folder' is no folder"
    expect_absent "$root$script"
    expect_success apt_inside purge weatherd
    expect_absent "$root$folder"
}

check_InstallationWhereNoInitRunsStartsNothing() {
    make_machine template runtime sysvinit

    expect_success apt install "$package"

    expect_in_output 'could not determine current runlevel'
    expect_absent "$pid_file"
    expect_success in_folder / "$(line_of_page examples/template/README.md $script)"
    expect_success in_root weatherd status
}

check_InstallationWhereNoInitRunsStartsTheDaemonIfThePolicyAllowsIt() {
    make_machine template runtime sysvinit
    decree 0

    expect_success apt install "$package"

    expect_success in_root weatherd status
    expect_success apt remove weatherd
    expect_absent "$pid_file"
    expect_absent "$root$script"
}

check_PolicyAgainstStartingIsHonouredWhereNoInitRuns() {
    make_machine template runtime sysvinit
    decree 101

    expect_success apt install "$package"

    expect_in_output 'policy-rc.d denied execution of start'
    expect_status 3 in_root weatherd status
    expect_success apt remove weatherd
    expect_absent "$root$script"
}

check_InstallationWhereThereIsNoInitSucceedsAndSaysSo() {
    make_machine template installed builder
    rm -f "$root/usr/sbin/init"

    expect_success apt install "$package"

    expect_in_output 'Nothing starts daemons at boot on this machine'
    expect_success in_root weatherd start
    expect_success apt remove weatherd
    expect_absent "$root$script"
}

check_NameThatNoPackageHasIsRefused() {
    cp -r "$source/examples/template" "$TMPDIR"
    sed -i s/mydaemon/Weatherd/ "$TMPDIR/template/CMakeLists.txt"

    expect_status 1 cmake -S "$TMPDIR/template" -B "$TMPDIR/build"

    expect_in_output "cannot be called 'Weatherd'"
}

run_check "$@"
