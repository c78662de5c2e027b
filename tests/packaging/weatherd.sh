#!/bin/bash
# The machines on which the Debian package of a daemon that was made from the template is tried.

# shellcheck disable=SC2034 # The checks use what this file does not.

# shellcheck source=debian.sh
. "${BASH_SOURCE[0]%/*}/debian.sh"

# In the machine:
script=/etc/init.d/weatherd
folder=/var/lib/weatherd
package="/daemon/weatherd_*.deb"

# From outside:
pid_file=$root$folder/weatherd.pid
log=$root$folder/.local/state/weatherd/weatherd.log

# apt_inside COMMAND...: runs apt-get in the machine that is on.
apt_inside() {
    inside sh -c "DEBIAN_FRONTEND=noninteractive apt-get --quiet --yes $*"
}

is_up() {
    inside start-stop-daemon --status --pidfile $folder/weatherd.pid --user weatherd
}

boot_and_install() {
    boot
    expect_success apt_inside install "$package"
    await_up
}

# files: prints all files except those of the package tools and those that every boot writes. Links that start and stop
# others come without their numbers, which insserv chooses anew each time.
files() {
    (cd "$root" && find etc usr var -not -path 'var/lib/dpkg/*' -not -path 'var/lib/apt/*' -not -path 'var/cache/*' \
        -not -path 'var/log/*' -not -name '*-' | sed 's,^\(etc/rc.\.d/[SK]\)[0-9][0-9],\1,' | sort)
}

# accounts: prints everything that is known about users and groups.
accounts() {
    (cd "$root/etc" && cat passwd group shadow gshadow)
}

# Installs the package in the machine that is on, and purges it.
expect_purge_to_leave_nothing() {
    # The daemon's package needs it, and it stays. Debian 13 does not have it from the start.
    expect_success apt_inside install adduser
    files >"$TMPDIR/files"
    accounts >"$TMPDIR/accounts"
    expect_success apt_inside install "$package"
    await_up

    expect_success apt_inside purge weatherd

    expect_success diff "$TMPDIR/files" <(files)
    expect_success diff "$TMPDIR/accounts" <(accounts)
    expect_absent "$root/var/log/weatherd"
}

# Puts a folder where its PID file is to be.
keep_daemon_from_coming_up() {
    mkdir -m 777 "$root$folder"
    mkdir "$pid_file"
}
