#!/bin/bash
# A checkout with nothing but the scripts, on a machine where the programs that they call only record the call in
# $TMPDIR/calls, and succeed.

# shellcheck source=../system/check.sh
. "${BASH_SOURCE[0]%/*}/../system/check.sh"

checkout=$TMPDIR/parent/checkout
programs=$TMPDIR/programs
calls=$TMPDIR/calls

make_checkout() {
    mkdir -p "$checkout" "$programs"
    cp -r "${BASH_SOURCE[0]%/*}/../../scripts" "$checkout"
    : >"$calls"
    chmod a+rw "$calls"
    PATH=$programs:$PATH
    unset DMN_TEST_REQUIRE_ALL
    local program
    for program in apt-get clang-format ctest git run-clang-tidy shellcheck; do
        make_program "$program"
    done
    make_program dpkg-query 'echo installed'
    make_cmake
}

# make_program NAME [LINE...]: makes a program of these lines of shell.
make_program() {
    # shellcheck disable=SC2016 # The program expands it.
    printf '%s\n' '#!/bin/bash' 'echo "${0##*/} $*" >>'"$calls" "${@:2}" >"$programs/$1"
    chmod 755 "$programs/$1"
}

# make_cmake [LINE...]: makes a cmake that does this in addition to making the build folder of the preset.
make_cmake() {
    # shellcheck disable=SC2016 # The program expands it.
    make_program cmake 'mkdir -p "build/${@: -1}"' "$@"
}

# As in a chroot.
forbid_private_roots() {
    make_program unshare 'exec >&2' \
        'case $* in *--user*) echo "no user namespaces" ;; *) echo "no mount namespaces" ;; esac' 'exit 1'
    unset DMN_PRIVATE_ROOT
}

lack_all_packages() {
    make_program dpkg-query 'exit 1'
}

# packages_of GROUP...: a pattern for their names in one line.
packages_of() {
    local group
    for group; do
        sed -n "s/^$group \+\([^ #]\+\).*/\1/p" "$checkout/scripts/packages"
    done | sort --unique | xargs | sed 's/[+.]/[&]/g'
}

expect_call() {
    expect_line "^$1" "$calls"
}

expect_no_call() {
    expect_no_line "^$1" "$calls"
}

expect_last_line() {
    expect_equal "$1" "$(tail -n 1 <<<"$output")"
}

expect_not_in_output() {
    ! grep -E -- "$1" <<<"$output" || fail "did not expect '$1' in the output: $output"
}

# on_terminal COMMAND: runs the line of shell on a terminal, where the input is what is typed.
on_terminal() {
    command -v script >/dev/null || give_up "needs script"
    TERM=xterm script --quiet --return --command "$1" /dev/null
}

# interrupt COMMAND: runs it on a terminal, and types Ctrl+C there as soon as one of its programs has written its PID.
interrupt() {
    { await "the program runs" [ -s "$TMPDIR/pid" ] && printf '\x03'; } | on_terminal "$1"
}
