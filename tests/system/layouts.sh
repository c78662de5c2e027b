#!/bin/bash
# Init scripts and run levels have two places each: the same init boots from every combination.
# Usage: layouts.sh CHECK

# shellcheck source=machine.sh
. "${BASH_SOURCE[0]%/*}/machine.sh"

# make_machine_of INIT_FOLDER LEVELS_FOLDER
make_machine_of() {
    make_machine_in_link_order
    tell_init "$1" "$2"
    mkdir -p "$root/etc/rc.d"
    local link
    for link in "$root"/etc/rc?.d/*; do
        ln -sfn "$1/${link##*/???}" "$link"
    done
    [ "$1" = /etc/init.d ] || mv "$root/etc/init.d" "$root$1"
    [ "$2" = /etc ] || mv "$root"/etc/rc?.d "$root$2"
}

# tell_init INIT_FOLDER LEVELS_FOLDER: tells init where its scripts are.
tell_init() {
    sed -i -e "s,/etc/init\.d,$1,g" -e "s,/etc/rc\\\$runlevel,$2/rc\$runlevel,g" \
        "$root/lib/init/rc" "$root/lib/init/rcS" "$root/etc/inittab"
}

# expect_whole_life INIT_FOLDER LEVELS_FOLDER
expect_whole_life() {
    make_machine_of "$1" "$2"
    install_heartbeat
    expect_equal "$1/heartbeat" "$(readlink "$root$2/rc2.d/S90heartbeat")"
    expect_equal "$1/heartbeat" "$(readlink "$root$2/rc6.d/K10heartbeat")"

    expect_success in_root heartbeat check

    boot
    await_up
    expect_success inside heartbeat check
    reboot
    await_up
    expect_line 'Stopping Heartbeat' "$console"

    expect_success inside heartbeat uninstall
    expect_orderly_end
    expect_equal '' "$(find "$root/etc" -name '*heartbeat*')"
}

check_EtcInitDWithEtcRcN() {
    expect_whole_life /etc/init.d /etc
}

check_EtcRcDInitDWithEtcRcDRcN() {
    expect_whole_life /etc/rc.d/init.d /etc/rc.d
}

check_EtcInitDWithEtcRcDRcN() {
    expect_whole_life /etc/init.d /etc/rc.d
}

check_EtcRcDInitDWithEtcRcN() {
    expect_whole_life /etc/rc.d/init.d /etc
}

run_check "$@"
