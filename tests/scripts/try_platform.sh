#!/bin/bash
# scripts/try-platform, and scripts/platform/write-row, which writes what it has found out.
# Usage: try_platform.sh CHECK

# shellcheck source=checkout.sh
. "${BASH_SOURCE[0]%/*}/checkout.sh"

make_checkout
page=$TMPDIR/page.md
cp "${BASH_SOURCE[0]%/*}/../../docs/platforms.md" "$page"
sed -i '/^|---/,/^<!-- up to here/{/^| /d}' "$page"

# write_row NAME=VALUE...
write_row() {
    printf '%s\n' "$@" >"$TMPDIR/facts"
    expect_success "$checkout/scripts/platform/write-row" "$TMPDIR/facts" "$page"
}

# rows: prints the first, the second and the tenth cell of each row.
rows() {
    sed '1,/^|---/d; /^|/!d' "$page" | cut -d '|' -f 2,3,11
}

check_RowReplacesThatOfTheSamePlatformOnly() {
    write_row release='Debian 13' architecture=i386 passed=1
    write_row release='Debian 13' architecture=amd64 passed=2
    write_row release='Debian 12' architecture=amd64 passed=3

    write_row release='Debian 13' architecture=amd64 passed=4

    expect_equal $' Debian 12 | amd64 | 3 \n Debian 13 | amd64 | 4 \n Debian 13 | i386 | 1 ' "$(rows)"
}

check_UnknownFactIsShownAsSuch() {
    write_row release='Debian 13' architecture=amd64

    expect_equal ' Debian 13 | amd64 | - ' "$(rows)"
}

check_RowChangesNothingElseOfThePage() {
    cp "$page" "$TMPDIR/before"

    write_row release='Debian 13' architecture=amd64

    expect_success diff "$TMPDIR/before" <(grep -v '^| Debian 13 ' "$page")
}

check_NothingIsLeftBehindWhenTheScriptIsTerminated() {
    make_program mmdebstrap "mkdir $checkout/build/platforms/sid-amd64/root" mktemp "echo \$\$ >$TMPDIR/pid" \
        'exec sleep 1000'
    "$checkout/scripts/try-platform" sid amd64 >/dev/null &
    local script=$! status=0
    await "the root is being made" test -s "$TMPDIR/pid"

    kill -TERM $script
    wait $script || status=$?

    expect_equal 143 $status
    expect_absent "$checkout/build/platforms/sid-amd64"
    expect_equal '' "$(find "$TMPDIR" -name 'tmp.*')"
    expect_equal '' "$(pgrep --full 'sleep 1000')"
}

check_TrialThatFailsWritesItsRowAllTheSame() {
    local root=$checkout/build/platforms/trixie-amd64/root
    make_program mmdebstrap "mkdir -p $root/etc $root/root" "touch $root/sources" \
        "echo 'PRETTY_NAME=\"Debian GNU/Linux 13 (trixie)\"' >$root/etc/os-release"
    # shellcheck disable=SC2016 # The program expands it.
    make_program uname 'case $1 in --kernel-release) echo 6.1.0-28-amd64 ;; *) exec /bin/uname "$@" ;; esac'
    printf '#!/bin/sh\nexit 3\n' >"$checkout/scripts/platform/enter-root"
    mkdir "$checkout/docs"
    cp "$page" "$checkout/docs/platforms.md"
    page=$checkout/docs/platforms.md

    expect_status 3 "$checkout/scripts/try-platform" trixie amd64

    expect_equal ' Debian 13 (trixie) | amd64 | - ' "$(rows)"
    expect_line ' \| 6\.1\.0 \| ' "$page"
}

check_ReleaseThatCannotBeHadIsAnErrorAndWritesNoRow() {
    make_program mmdebstrap 'exit 1'

    expect_status 1 "$checkout/scripts/try-platform" nosuch

    expect_equal '' "$(rows)"
    expect_equal "nosuch-$(dpkg --print-architecture).log" "$(ls "$checkout/build/platforms")"
}

run_check "$@"
