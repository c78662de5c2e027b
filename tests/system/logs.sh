#!/bin/bash
# What the administrators' guide does with a log.
# Usage: logs.sh CHECK

# shellcheck source=check.sh
. "${BASH_SOURCE[0]%/*}/check.sh"

log=/var/log/heartbeat/heartbeat.log
writer=$TMPDIR/heartbeat
writers=()

# A log is named after the program that writes it.
make_writer() {
    unset FDN_LOG_FILE
    cp "$DMN_SYSTEM_LAYERS/log_writer" "$writer"
}

# start_writer NAME: writes down how many entries it has logged.
start_writer() {
    "$writer" numbers >"$TMPDIR/$1.count" &
    writers+=($!)
}

end_writers() {
    kill "${writers[@]}"
    wait "${writers[@]}"
}

# rotate DAY: as on an earlier day, because logrotate does it once a day.
rotate() {
    expect_success logrotate --force --state "$TMPDIR/state" "$TMPDIR/logrotate.conf"
    mv $log-20[2-9]* "$log-200101$1"
    await_writers
}

# Each, because who is slow may go on with the file that was moved until the next rotation, but no longer.
await_writers() {
    local process
    for process in "${writers[@]}"; do
        await "process $process writes the log" grep -q " process=\"$process\" " $log
    done
}

# numbers_of PROCESS: those in all files, sorted.
numbers_of() {
    zcat --force $log* | sed -n 's/.* process="'"$1"'" .*>\([0-9]*\)<.*/\1/p' | sort -n
}

check_LogrotateLosesNoEntry() {
    command -v logrotate >/dev/null || give_up "needs logrotate"
    make_writer
    from_guide '\/var\/log\/heartbeat' '}' >"$TMPDIR/logrotate.conf"
    start_writer first
    start_writer second
    await_writers

    for day in 11 12 13 14 15 16; do
        rotate $day
    done
    end_writers

    expect_success ls $log-20010115.gz $log-20010116
    numbers_of "${writers[0]}" | cmp - <(seq 0 $(($(cat "$TMPDIR/first.count") - 1)))
    numbers_of "${writers[1]}" | cmp - <(seq 0 $(($(cat "$TMPDIR/second.count") - 1)))
}

check_SedMakesATable() {
    make_writer
    "$writer" error
    from_guide 'sed' '    s\/&lt' >"$TMPDIR/table"

    expect_success sh "$TMPDIR/table"

    expect_equal \
        $'TIME\terror\tPROCESS\ttext: while testing | where: a > b | what: two&#10;lines | second: second | code: 2 | caused by | what: the cause | code: 5 | path: /tmp/<grüß "&"dich>' \
        "$(sed -E 's/^[0-9]{4}-[0-9-]*T[0-9:.]{15}Z\t(error)\t[0-9]+\t/TIME\t\1\tPROCESS\t/' <<<"$output")"
}

# The page writes a backslash as "\e".
check_ManualPageMakesTheSameTable() {
    local table
    make_writer
    "$writer" error
    from_guide 'sed' '    s\/&lt' >"$TMPDIR/table"
    sed -n '/^sed -E/,/app\.log$/{ s/^\\&//; s/\\e/\\/g; s|/var/log/app/app\.log|'"$log"'|; p }' \
        "${BASH_SOURCE[0]%/*}/../../docs/man/dmn.7" >"$TMPDIR/table_of_page"
    expect_success sh "$TMPDIR/table"
    table=$output

    expect_success sh "$TMPDIR/table_of_page"

    expect_equal "$table" "$output"
}

run_check "$@"
