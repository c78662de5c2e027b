#!/bin/bash
# Runs checks, and defines what they assert with. The first expectation that is not met ends the check.

set -euo pipefail

patience=60

# run_check CHECK: runs check_CHECK, which the script that calls this defines. DMN_SYSTEM_LAYERS is the folder
# in which make-root has made the roots, if the check needs any. Ends with status 77 if the check cannot run
# here, with 1 instead if DMN_TEST_REQUIRE_ALL=1.
run_check() {
    [ "${DMN_PRIVATE_ROOT:-}" = accounts ] || give_up "needs a private root that was made by root"
    [ -z "${DMN_SYSTEM_LAYERS:-}" ] || [ -e "$DMN_SYSTEM_LAYERS/debian/made-from" ] ||
        give_up "needs a root, which make-root has not made"
    trap end_check EXIT
    "check_$1"
}

end_check() {
    local status=$?
    [ $status -eq 0 ] || show_what_happened || true
    clean_up || true
    exit $status
}

give_up() {
    echo "${0##*/}: $1"
    [ "${DMN_TEST_REQUIRE_ALL:-0}" = 1 ] && exit 1
    exit 77
}

show_what_happened() {
    tail -n 20 "${console:-}" "${log:-}" 2>/dev/null
}

# For what would outlast the private root of the check.
clean_up() {
    :
}

fail() {
    printf 'FAILED: %s\n' "$1" >&2
    exit 1
}

# await WHAT CONDITION...: waits until the condition, a command, succeeds; fails if it does not in time.
await() {
    local what=$1 deadline=$((SECONDS + patience))
    shift
    until "$@" >/dev/null 2>&1; do
        [ $SECONDS -lt $deadline ] || fail "this did not come true in time: $what"
        sleep 0.02
    done
}

# from_page PAGE FIRST LAST: prints what the page shows, from the line that matches FIRST to one that matches
# LAST.
from_page() {
    local lines
    lines=$(sed -n "\\|^    $2|,\\|^    $3|s/^ \{0,4\}//p" "${BASH_SOURCE[0]%/*}/../../$1")
    [ -n "$lines" ] || fail "$1 does not show '$2'"
    echo "$lines"
}

# line_of_page PAGE FIRST: the one line of code that begins so.
line_of_page() {
    local lines
    mapfile -t lines < <(grep "^    $2" "${BASH_SOURCE[0]%/*}/../../$1")
    [ ${#lines[@]} -eq 1 ] || fail "$1 shows '$2' in ${#lines[@]} lines"
    echo "${lines[0]#    }"
}

# from_guide FIRST LAST: of the page for administrators.
from_guide() {
    from_page docs/guide/administrators.md "$@"
}

expect_equal() {
    [ "$1" = "$2" ] || fail "expected '$1', got '$2'"
}

# expect_status STATUS COMMAND...: the command ends with this status. Its output is in $output then.
expect_status() {
    local expected=$1 status=0
    shift
    output=$("$@" 2>&1) || status=$?
    [ "$status" -eq "$expected" ] || fail "expected status $expected, got $status from: $* $output"
}

expect_success() {
    expect_status 0 "$@"
}

# expect_line PATTERN FILE
expect_line() {
    grep -Eq -- "$1" "$2" || fail "no line of $2 matches '$1'; they are: $(cat "$2")"
}

expect_no_line() {
    ! grep -E -- "$1" "$2" || fail "lines of $2 match '$1'"
}

# expect_in_output PATTERN: the output of the last expect_status has a line that matches.
expect_in_output() {
    grep -Eq -- "$1" <<<"$output" || fail "expected '$1' in the output: $output"
}

expect_absent() {
    if [ -e "$1" ] || [ -L "$1" ]; then
        fail "there is $1"
    fi
}
