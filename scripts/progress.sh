# shellcheck shell=bash
# For scripts that take a while: shows what they do, and that they still do it.

# The last command of a pipe runs in this shell, so it can set variables. And when the script ends early, nobody reads
# the pipe any more: the command that writes to it ends with its next line.
shopt -s lastpipe

# Some commands end in an orderly way when they are interrupted, and the script would go on with the next one.
trap 'echo; exit 130' INT

# run_with_progress WHAT LOG COMMAND...: runs the command, writes its output to the file, and shows how it gets on.
# Where the status of this function is tested, "set -e" has no effect in the command.
run_with_progress() {
    local - statuses
    set +e
    (
        set -e
        "${@:3}"
    ) </dev/null 2>&1 | tee -- "$2" | show_progress "$1"
    statuses=("${PIPESTATUS[@]}")
    # If the log could not be written, tee has said why.
    [ "${statuses[1]}" -eq 0 ] || return 1
    return "${statuses[0]}"
}

# show_progress WHAT: shows the last line of the input: at once on a terminal, elsewhere every half minute.
show_progress() {
    local line part='' last='' started=$SECONDS next=$SECONDS
    while true; do
        if read -r -t 1 line; then
            last=": $part$line" part=''
        elif [ $? -gt 128 ]; then
            part+=$line
        else
            break
        fi
        if is_terminal; then
            printf '\r\e[K\e[?7l%s, %d s%s\e[?7h' "$1" $((SECONDS - started)) "${last//[[:cntrl:]]/ }"
        elif [ "$SECONDS" -ge "$next" ]; then
            echo "$1, $((SECONDS - started)) s$last"
            next=$((SECONDS + 30))
        fi
    done
    ! is_terminal || printf '\r\e[K'
}

is_terminal() {
    [ -t 1 ] && [ "${TERM:-dumb}" != dumb ]
}

# without_steps LOG: prints it without the lines that only say how a build or a check gets on.
without_steps() {
    grep -Ev '^\[ *[0-9]+/[0-9]+\]|^clang-tidy(-[0-9]+)? |^[0-9]+ warnings? generated\.$' "$1" || true
}

# build_preset PRESET [OPTION OF cmake --build...]: configures and builds it. Prints the output only if that fails.
build_preset() {
    local log=build/$1-build.log
    mkdir -p build
    if ! run_with_progress "Building" "$log" configure_and_build "$@"; then
        without_steps "$log"
        return 1
    fi
}

configure_and_build() {
    cmake --preset "$1" && cmake --build --preset "$@"
}
