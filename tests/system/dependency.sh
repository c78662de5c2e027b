#!/bin/bash
# The boot sequence of sysvinit in dependency order, as Debian ships it: init reads the files .depend.* of insserv
# and runs nothing that is not in them.
# Usage: dependency.sh CHECK

# shellcheck source=machine.sh
. "${BASH_SOURCE[0]%/*}/machine.sh"

dependencies() {
    cat "$root"/etc/init.d/.depend.*
}

# This prints warnings, which another check examines.
put_in_order() {
    expect_success in_root update-rc.d heartbeat defaults
}

expect_no_trouble_at_boot() {
    expect_no_line 'failed|skipped|not found|No such file' "$console"
}

check_InstallAloneDoesNotStartTheDaemonAtBoot() {
    make_machine
    install_heartbeat

    boot

    expect_not_running
}

check_InstallNamesTheCommandThatHasTheDaemonStartedAtBoot() {
    make_machine
    expect_success in_root heartbeat --controlFolder=$folder --interval=3600 install
    expect_in_output '^  update-rc\.d heartbeat defaults$'
    local command
    command=$(grep '^  update-rc' <<<"$output")

    expect_success in_root sh -c "$command"

    expect_started_and_stopped
}

check_CheckFindsThatTheDaemonDoesNotStartAtBootAndItsRemedyMendsThat() {
    make_machine
    install_heartbeat
    boot
    expect_not_running
    expect_status 1 inside heartbeat check
    expect_in_output '^The daemon does not start at boot: '
    local remedy
    remedy=$(sed -n 's/^  Remedy: //p' <<<"$output")

    expect_success inside sh -c "$remedy"

    expect_success inside heartbeat check
    expect_in_output '^heartbeat: nothing found\.$'
    reboot
    await_up
    expect_success inside heartbeat check
}

# Expects that boot starts the daemon and halt stops it. At halt, the script and the SIGTERM of the system
# come at the same time.
expect_started_and_stopped() {
    boot
    await_up
    power_off
    expect_line 'Starting Heartbeat' "$console"
    expect_line 'Stopping Heartbeat' "$console"
    expect_orderly_end
}

check_UpdateRcDAfterInstallStartsAndStopsTheDaemon() {
    make_machine
    install_heartbeat

    expect_success in_root update-rc.d heartbeat defaults

    expect_in_output "script 'heartbeat' missing LSB tags"
    expect_links 0/K01heartbeat 2/S01heartbeat 3/S01heartbeat 4/S01heartbeat 5/S01heartbeat 6/K01heartbeat
    expect_started_and_stopped
}

check_InsservAfterInstallStartsAndStopsTheDaemon() {
    make_machine
    install_heartbeat

    expect_success in_root insserv

    expect_started_and_stopped
}

check_EveryRebootStopsTheDaemonCleanlyAndStartsItAgain() {
    make_machine
    install_heartbeat
    put_in_order
    boot
    await_up

    local round
    for round in 1 2 3 4 5; do
        reboot
        await_up
        expect_equal "$round" "$(grep -c stopped "$beats")"
    done
    expect_no_line 'level="error"' "$log"
}

check_UninstallAndThenUpdateRcDLeaveNothing() {
    make_machine
    install_heartbeat
    put_in_order
    in_root heartbeat uninstall

    expect_success in_root update-rc.d heartbeat remove

    expect_links
    expect_no_line heartbeat <(dependencies)
    boot
    expect_no_trouble_at_boot
}

check_UpdateRcDAndThenUninstallLeaveNothing() {
    make_machine
    install_heartbeat
    put_in_order
    expect_success in_root update-rc.d heartbeat remove
    expect_links

    expect_success in_root heartbeat uninstall

    expect_absent "$root$script"
    expect_no_line heartbeat <(dependencies)
    boot
    expect_no_trouble_at_boot
}

check_UninstallAloneLeavesAMachineThatBoots() {
    make_machine
    install_heartbeat
    put_in_order

    expect_success in_root heartbeat uninstall

    expect_links
    expect_line heartbeat <(dependencies)
    boot
    expect_no_trouble_at_boot
}

check_InstallAgainAndUpdateRcDLeaveOneLinkInEachLevel() {
    make_machine
    install_heartbeat
    put_in_order
    install_heartbeat --message=again

    expect_success in_root update-rc.d heartbeat defaults

    expect_links 0/K01heartbeat 2/S01heartbeat 3/S01heartbeat 4/S01heartbeat 5/S01heartbeat 6/K01heartbeat
    expect_started_and_stopped
    expect_line again "$beats"
}

check_DaemonThatIsNotForBootIsNotStartedAndIsStoppedAtHalt() {
    make_machine
    in_root heartbeat-by-hand --controlFolder=$folder install
    put_in_order
    expect_links 0/K01heartbeat 6/K01heartbeat
    boot
    expect_not_running
    expect_success inside $script start
    await_up

    power_off

    expect_line 'Stopping Heartbeat' "$console"
    expect_orderly_end
}

check_WithoutItsStartLinksTheDaemonIsNotStartedAtBoot() {
    make_machine
    install_heartbeat
    put_in_order
    rm "$root"/etc/rc[2-5].d/S??heartbeat

    expect_success in_root insserv

    expect_links 0/K01heartbeat 6/K01heartbeat
    boot
    expect_not_running
}

override=/etc/insserv/overrides/heartbeat

check_BootOnIsTheOnlyStepAfterInstallAndInsservIsSilent() {
    make_machine
    install_heartbeat
    expect_status 3 in_root dmnctl boot heartbeat

    expect_success in_root dmnctl boot heartbeat on

    expect_no_line '^insserv' <(echo "$output")
    expect_success in_root dmnctl boot heartbeat
    expect_success in_root insserv
    expect_equal '' "$output"
    expect_links 0/K01heartbeat 2/S01heartbeat 3/S01heartbeat 4/S01heartbeat 5/S01heartbeat 6/K01heartbeat
    expect_started_and_stopped
}

check_BootOnStartsADaemonThatWasNotInstalledForBoot() {
    make_machine
    in_root heartbeat-by-hand --controlFolder=$folder install

    expect_success in_root dmnctl boot heartbeat on

    expect_links 0/K01heartbeat 2/S01heartbeat 3/S01heartbeat 4/S01heartbeat 5/S01heartbeat 6/K01heartbeat
    expect_started_and_stopped
}

check_BootOnOrdersTheDaemonByWhatItNeeds() {
    make_machine
    provide_system_log
    install_heartbeat

    expect_success in_root dmnctl boot heartbeat on

    expect_line '^heartbeat:.* rsyslog( |$)' "$root/etc/init.d/.depend.start"
    expect_line '^sendsigs:.* heartbeat( |$)' "$root/etc/init.d/.depend.stop"
    expect_line '^umountnfs\.sh:.* heartbeat( |$)' "$root/etc/init.d/.depend.stop"
    expect_line '^rsyslog:.* heartbeat( |$)' "$root/etc/init.d/.depend.stop"
}

# Puts a script with Debian's header of the system log in order.
provide_system_log() {
    cat >"$root/etc/init.d/rsyslog" <<-'END'
	#!/bin/sh
	### BEGIN INIT INFO
	# Provides:          rsyslog
	# Required-Start:    $remote_fs $time
	# Required-Stop:     umountnfs $time
	# Default-Start:     2 3 4 5
	# Default-Stop:      0 1 6
	# Short-Description: enhanced syslogd
	### END INIT INFO
	END
    chmod 755 "$root/etc/init.d/rsyslog"
    expect_success in_root insserv rsyslog
}

# What insserv has noted, in an order of its own.
noted() {
    dependencies | tr -s ' ' '\n' | sort
}

# Those of /etc. insserv renumbers the links of others to make room, and leaves them so.
files() {
    (cd "$root/etc" && find . | sed 's,\(/[SK]\)[0-9][0-9],\1,' | sort)
}

check_BootOffTakesBackExactlyWhatBootOnDid() {
    make_machine
    mkdir -p "$root/etc/insserv/overrides"
    expect_success in_root insserv
    in_root heartbeat-by-hand --controlFolder=$folder install
    local noted_before files_before
    noted_before=$(noted)
    files_before=$(files)
    expect_success in_root dmnctl boot heartbeat on

    expect_success in_root dmnctl boot heartbeat off

    expect_no_line '^insserv' <(echo "$output")
    expect_links 0/K10heartbeat 6/K10heartbeat
    expect_equal "$noted_before" "$(noted)"
    expect_equal "$files_before" "$(files)"
    boot
    expect_not_running
}

check_BootOffCleansUpAfterUninstall() {
    make_machine
    install_heartbeat
    expect_success in_root dmnctl boot heartbeat on
    in_root heartbeat uninstall

    expect_success in_root dmnctl boot heartbeat off

    expect_absent "$root$override"
    expect_links
    expect_no_line heartbeat <(dependencies)
    expect_status 2 in_root dmnctl boot heartbeat off
    boot
    expect_no_trouble_at_boot
}

check_BootOnAfterAnotherInstallLeavesOneLinkInEachLevel() {
    make_machine
    install_heartbeat
    expect_success in_root dmnctl boot heartbeat on
    install_heartbeat --message=again

    expect_success in_root dmnctl boot heartbeat on

    expect_links 0/K01heartbeat 2/S01heartbeat 3/S01heartbeat 4/S01heartbeat 5/S01heartbeat 6/K01heartbeat
    expect_started_and_stopped
    expect_line again "$beats"
}

check_BootOnLeavesAnAdministratorsHeaderAlone() {
    make_machine
    install_heartbeat
    mkdir -p "$root/etc/insserv/overrides"
    cat >"$root$override" <<-'END'
	### BEGIN INIT INFO
	# Provides:          heartbeat
	# Required-Start:    $remote_fs
	# Required-Stop:     $remote_fs
	# Default-Start:     2
	# Default-Stop:      0 6
	### END INIT INFO
	END
    local before
    before=$(cat "$root$override")

    expect_success in_root dmnctl boot heartbeat on

    expect_equal "$before" "$(cat "$root$override")"
    boot
    await_up
    expect_success inside dmnctl boot heartbeat off
    expect_equal "$before" "$(cat "$root$override")"
    reboot
    expect_not_running
}

check_BootOnThatFailsSaysWhyAndChangesNothing() {
    make_machine
    in_root heartbeat-by-hand --controlFolder=$folder install
    printf '#!/bin/sh\n### BEGIN INIT INFO\n# Provides: broken\n# Required-Start: nobody\n%s\n%s\n%s\n' \
        '# Required-Stop:' '# Default-Start: 2' '# Default-Stop:' >"$root/etc/init.d/broken"
    echo '### END INIT INFO' >>"$root/etc/init.d/broken"
    chmod 755 "$root/etc/init.d/broken"
    ln -s ../init.d/broken "$root/etc/rc2.d/S50broken"
    local before
    before=$(dependencies)

    expect_status 2 in_root dmnctl boot heartbeat on

    expect_in_output '^insserv: '
    expect_in_output "^dmnctl: 'insserv heartbeat' has failed\.$"
    expect_absent "$root$override"
    expect_links 0/K10heartbeat 6/K10heartbeat
    expect_equal "$before" "$(dependencies)"
}

run_check "$@"
