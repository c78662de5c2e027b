#!/bin/bash
# This machine, with the product installed in /usr/local. From the rest of the machine, checks use only programs.

# shellcheck source=check.sh
. "${BASH_SOURCE[0]%/*}/check.sh"

# shellcheck disable=SC2034 # The checks use it.
sources=${BASH_SOURCE[0]%/*}/../..

# This shows only in the private root, which has a mount namespace of its own. Other folders of /usr/local stay, because
# this checkout may be in /usr/local/src.
install_product() {
    local folder
    for folder in "$DMN_SYSTEM_LAYERS"/product/usr/local/*; do
        mount -n --bind -o ro "$folder" "/usr/local/${folder##*/}"
    done
}

# needs PROGRAM...: gives up unless this machine has the programs.
needs() {
    local program
    for program; do
        command -v "$program" >/dev/null || give_up "needs $program"
    done
}
