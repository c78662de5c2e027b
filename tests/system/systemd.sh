#!/bin/bash
# What systemd up to release 259 makes of the script: its generator writes a unit for each script in /etc/init.d.
# Usage: systemd.sh CHECK

# shellcheck source=machine.sh
. "${BASH_SOURCE[0]%/*}/machine.sh"

units=$root/run/units
generator=/lib/systemd/system-generators/systemd-sysv-generator

make_units() {
    needs_generator
    mkdir -p "$units"/{normal,early,late}
    expect_success in_root $generator /run/units/{normal,early,late}
}

needs_generator() {
    [ -e "$root$generator" ] || give_up "needs a systemd that reads init scripts, as it did up to release 259"
}

# expect_settings SECTION LINE...: this section of the unit has exactly these settings, in any order.
expect_settings() {
    local section=$1
    shift
    expect_equal "$(printf '%s\n' "$@" | sort)" \
        "$(sed -n "/^\[$section]/,/^\[/{/^[A-Z]/p}" "$units/late/heartbeat.service" | sort)"
}

# expect_unit_verified FOLDER: systemd itself finds no fault in the unit in this folder.
expect_unit_verified() {
    expect_success in_root env "SYSTEMD_UNIT_PATH=$1:" systemd-analyze --man=no verify "$1/heartbeat.service"
    expect_equal '' "$output"
}

check_UnitStartsAndStopsTheDaemonThroughTheScript() {
    make_machine systemd
    install_heartbeat

    make_units

    expect_settings Service Type=forking RemainAfterExit=yes GuessMainPID=no KillMode=process Restart=no \
        IgnoreSIGPIPE=no TimeoutSec=5min "ExecStart=$script start" "ExecStop=$script stop"
    expect_line "^SourcePath=$script$" "$units/late/heartbeat.service"
}

check_UnitPassesSystemdsOwnVerification() {
    make_machine systemd
    install_heartbeat
    make_units

    expect_unit_verified /run/units/late
}

check_S90LinksMakeMultiUserTargetWantTheUnit() {
    make_machine systemd
    install_heartbeat

    make_units

    for target in multi-user graphical; do
        expect_equal ../heartbeat.service "$(readlink "$units/late/$target.target.wants/heartbeat.service")"
    done
}

check_UnitOfADaemonThatIsNotForBootIsWantedByNothing() {
    make_machine systemd
    in_root heartbeat-by-hand --controlFolder=$folder install

    make_units

    expect_equal ./late/heartbeat.service "$(cd "$units" && find . -name '*heartbeat*')"
}

check_LinksThatInsservRenumberedAreWantedAllTheSame() {
    make_machine systemd
    install_heartbeat
    expect_success in_root insserv

    make_units

    expect_equal ../heartbeat.service "$(readlink "$units/late/multi-user.target.wants/heartbeat.service")"
}

check_SystemctlCannotEnableOrDisableForLackOfAHeader() {
    make_machine systemd
    needs_generator
    install_heartbeat

    for verb in enable disable; do
        expect_status 1 in_root systemctl $verb heartbeat
        expect_in_output 'heartbeat Default-Start contains no runlevels, aborting'
    done
}

check_UnitOfTheGuideForNewerReleasesPassesSystemdsOwnVerification() {
    make_machine systemd
    mkdir "$root/run/own"

    from_guide '\[Service]' 'WantedBy=' >"$root/run/own/heartbeat.service"

    expect_unit_verified /run/own
}

run_check "$@"
