#!/bin/bash
# The roots that make-root has made, and what is done in them. See machine.sh for what they have in common with the
# machines that boot.

# shellcheck source=machine.sh
. "${BASH_SOURCE[0]%/*}/../system/machine.sh"

source=$here/../..
base_layer=clean

# in_folder FOLDER COMMAND: a line of shell, in a folder of the root.
in_folder() {
    in_root sh -c "cd '$1' && $2"
}

# apt COMMAND...: in the machine that is off. Its shell expands the names of files.
apt() {
    in_root sh -c "DEBIAN_FRONTEND=noninteractive apt-get --quiet --yes $*"
}

# What Debian asks before it starts or stops anything.
forbid_starting() {
    printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"
    chmod 755 "$root/usr/sbin/policy-rc.d"
}

allow_starting() {
    rm "$root/usr/sbin/policy-rc.d"
}

# installed_packages: the names of all, one a line.
installed_packages() {
    # shellcheck disable=SC2016 # dpkg-query fills it in.
    in_root dpkg-query --show --showformat '${Package}\n' | sort
}
