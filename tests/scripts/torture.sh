#!/bin/bash
# scripts/torture.
# Usage: torture.sh CHECK

# shellcheck source=checkout.sh
. "${BASH_SOURCE[0]%/*}/checkout.sh"

make_checkout
programs=$checkout/build/release-tests/tests/torture
mkdir -p "$programs"

check_EndsWhenInterruptedEvenIfItsProgramEndsInAnOrderlyWay() {
    # shellcheck disable=SC2016 # The program expands it.
    make_program killed 'trap "exit 1" INT' 'echo $$ >'"$TMPDIR/pid" 'while true; do sleep 0.1; done'
    make_program lives

    expect_status 130 interrupt "$checkout/scripts/torture killed lives"

    expect_call killed
    expect_no_call lives
}

run_check "$@"
