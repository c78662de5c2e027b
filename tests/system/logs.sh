#!/bin/bash
# What the guide for administrators has logrotate do with a log.
# Usage: logs.sh CHECK

# shellcheck source=check.sh
. "${BASH_SOURCE[0]%/*}/check.sh"

log=/var/log/heartbeat/heartbeat.log
writer=$TMPDIR/heartbeat
writers=()

# Copies the program under this name, because a log is named after the program that writes it.
make_writer() {
    unset FDN_LOG_FILE
    cp "$DMN_SYSTEM_LAYERS/log_writer" "$writer"
}

# start_writer NAME: starts a writer, which writes the number of its entries to NAME.count in the end.
start_writer() {
    "$writer" >"$TMPDIR/$1.count" &
    writers+=($!)
}

end_writers() {
    kill "${writers[@]}"
    wait "${writers[@]}"
}

# rotate DAY: rotates as if on an earlier day, because logrotate rotates only once a day.
rotate() {
    expect_success logrotate --force --state "$TMPDIR/state" "$TMPDIR/logrotate.conf"
    mv $log-20[2-9]* "$log-200101$1"
    await_writers
}

# Waits for each of them: a slow writer may go on with the file that was moved until the next rotation, but no
# longer.
await_writers() {
    local process
    for process in "${writers[@]}"; do
        await "process $process writes the log" grep -q " process=\"$process\" " $log
    done
}

# numbers_of PROCESS: prints the sorted numbers that this process has logged, from all files.
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

run_check "$@"
