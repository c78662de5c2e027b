#!/bin/bash
# How scripts/demo begins.
# Usage: demo.sh CHECK

# shellcheck source=checkout.sh
. "${BASH_SOURCE[0]%/*}/checkout.sh"

make_checkout
demo=$checkout/scripts/demo

check_SaysBeforeAllElseThatThereIsNoPrivateRoot() {
    forbid_private_roots
    lack_all_packages

    expect_status 125 "$demo"

    expect_in_output '^private-root: a private root needs namespaces.*: no mount namespaces$'
    expect_no_call 'apt-get|cmake'
}

check_ShowsWhyItCannotBeBuilt() {
    make_cmake "echo '[1/9] compiling'" "echo 'error: expected a semicolon'" 'exit 1'

    expect_status 1 "$demo"

    expect_in_output '^error: expected a semicolon$'
    expect_not_in_output '^\[1/9\]'
}

run_check "$@"
