# shellcheck shell=bash
# For scripts that find out facts about a platform: writes them as lines NAME=VALUE to the file $facts.

# note NAME VALUE
note() {
    # shellcheck disable=SC2154 # The script that includes this sets it.
    echo "$1=$2" >>"$facts"
}

# note_success NAME COMMAND...: runs the command, notes whether it has succeeded, and returns its status.
note_success() {
    local status=0
    "${@:2}" || status=$?
    note "$1" "$([ $status -eq 0 ] && echo yes || echo no)"
    return $status
}

# note_tools COMPILER
note_tools() {
    note compiler "g++ $("$1" -dumpfullversion)"
    note cmake "$(cmake --version | sed -n 's/^cmake version //p')"
    note wxwidgets "$(wx-config --version)"
    note libc "$(getconf GNU_LIBC_VERSION)"
}
