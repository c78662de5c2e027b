#!/bin/bash
# This machine, with the product installed in /usr/local. Of the rest of the machine, the checks use only programs.

# shellcheck source=check.sh
. "${BASH_SOURCE[0]%/*}/check.sh"

# shellcheck disable=SC2034 # The checks use it.
sources=${BASH_SOURCE[0]%/*}/../..

# Only in the private root, which has a mount namespace of its own.
install_product() {
    mount -n --bind -o ro "$DMN_SYSTEM_LAYERS/product/usr/local" /usr/local
}

# needs PROGRAM...: the programs must be there.
needs() {
    local program
    for program; do
        command -v "$program" >/dev/null || give_up "needs $program"
    done
}
