#!/bin/bash
# gdb shows values of the library.
# Usage: debugger.sh CHECK

# shellcheck source=installed.sh
. "${BASH_SOURCE[0]%/*}/installed.sh"

# debug PROGRAM COMMAND_OF_GDB...: runs the commands where the values of main() are in sight, on a terminal
# that can show umlauts.
debug() {
    local command arguments=()
    needs gdb
    for command in "${@:2}" "set print elements 100" run "info auto-load python-scripts" "frame function main"; do
        arguments+=(-ex "$command")
    done
    for command in text wxText path pointer second empty buffer secret; do
        arguments+=(-ex "print $command")
    done
    expect_success env LC_ALL=C.UTF-8 timeout "$patience" gdb -nx -batch "${arguments[@]}" "$DMN_SYSTEM_LAYERS/$1"
}

# Strips the library, as packages do.
use_library_without_debugging_information() {
    needs strip
    install_product
    mkdir "$TMPDIR/lib"
    cp --no-dereference /usr/local/lib/lib{fdn,dmn}.so* "$TMPDIR/lib"
    strip --strip-debug "$TMPDIR"/lib/*.so.*.*
    export LD_LIBRARY_PATH=$TMPDIR/lib
}

# expect_values_by FOLDER: gdb has loaded the script from this folder and shows the values.
expect_values_by() {
    expect_in_output "^Yes +$1/libfdn.so.*-gdb.py"
    expect_values
}

expect_values() {
    local shown=0
    expect_shown text 'L"grüß \"dich\""'
    expect_shown wxText 'L"base"'
    expect_shown path 'L"/var/lib/heartbeat"'
    expect_shown pointer '2 references to fdn::String = {object = L"held"}'
    expect_shown second '2 references to fdn::String = {object = L"held"}'
    expect_shown empty 'empty'
    expect_shown buffer '3 used of 8 = {1, 22, 333}'
    expect_shown secret '4 used of 4'
}

# expect_shown NAME VALUE: the next value that gdb has printed, and numbered, is this one.
expect_shown() {
    grep -Fqx -- "\$$((++shown)) = $2" <<<"$output" || fail "expected $1 as '$2' in: $output"
}

check_ValuesAreShownInTheBuildTree() {
    local build=${DMN_SYSTEM_LAYERS%/tests/system}
    debug debugged "add-auto-load-safe-path $build"
    expect_values_by "$build/fdn"
}

check_ValuesAreShownWithTheInstalledLibrary() {
    local folder=/usr/local/share/gdb/auto-load
    install_product
    LD_LIBRARY_PATH=$(dirname "$(find /usr/local/lib -name libfdn.so)")
    export LD_LIBRARY_PATH
    debug debugged "set auto-load scripts-directory $folder" "add-auto-load-safe-path $folder"
    expect_values_by "$folder$LD_LIBRARY_PATH"
}

check_ValuesAreShownWithoutTheLibrarysDebuggingInformation() {
    use_library_without_debugging_information
    debug debugged_alone "source $sources/packaging/gdb/fdn-gdb.py"
    expect_values
}

check_UnknownValuesAreNoError() {
    use_library_without_debugging_information
    debug debugged "source $sources/packaging/gdb/fdn-gdb.py"
    expect_in_output '= <incomplete type>$'
    expect_in_output '= 0x[0-9a-f]+$'
    expect_in_output '= 3 used of 8 = \{1, 22, 333\}$'
    expect_no_line Exception <(echo "$output")
}

run_check "$@"
