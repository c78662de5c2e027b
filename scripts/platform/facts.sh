# shellcheck shell=bash
# What is to be known about a platform, as lines NAME=VALUE in the file $facts. For scripts to include.

# note NAME VALUE
note() {
    # shellcheck disable=SC2154 # The script that includes this sets it.
    echo "$1=$2" >>"$facts"
}

# note_tools COMPILER
note_tools() {
    note compiler "g++ $("$1" -dumpfullversion)"
    note cmake "$(cmake --version | sed -n 's/^cmake version //p')"
    note wxwidgets "$(wx-config --version)"
    note libc "$(getconf GNU_LIBC_VERSION)"
}
