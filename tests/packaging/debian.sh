#!/bin/bash
# Works in the roots that make-root has made. machine.sh has what they share with the machines that boot.

# shellcheck source=machine.sh
. "${BASH_SOURCE[0]%/*}/../system/machine.sh"

source=$here/../..
base_layer=clean

# in_folder FOLDER COMMAND: runs a line of shell in a folder of the root.
in_folder() {
    in_root sh -c "cd '$1' && $2"
}

# apt COMMAND...: runs apt-get in the machine that is off. The shell there expands patterns of file names.
apt() {
    in_root sh -c "DEBIAN_FRONTEND=noninteractive apt-get --quiet --yes $*"
}

# decree STATUS: the answer of the script that Debian asks before it starts or stops anything. 101 forbids it, 0 allows it
# even where no init runs.
decree() {
    printf '#!/bin/sh\nexit %d\n' "$1" >"$root/usr/sbin/policy-rc.d"
    chmod 755 "$root/usr/sbin/policy-rc.d"
}

forbid_starting() {
    decree 101
}

allow_starting() {
    rm "$root/usr/sbin/policy-rc.d"
}

# installed_packages: prints the names of all packages, one a line.
installed_packages() {
    # shellcheck disable=SC2016 # dpkg-query expands it.
    in_root dpkg-query --show --showformat '${Package}\n' | sort
}

# missing_packages PACKAGE: prints the names of the package and of those that it needs, as far as the root lacks them.
missing_packages() {
    apt install --simulate "$1" | sed -n 's/^Inst \([^ ]*\).*/\1/p'
}
