#!/bin/bash
# scripts/test.
# Usage: test.sh CHECK

# shellcheck source=checkout.sh
. "${BASH_SOURCE[0]%/*}/checkout.sh"

make_checkout
test=$checkout/scripts/test

# CTest says that one of two tests has not run, and whether one has failed.
make_ctest() {
    # shellcheck disable=SC2016 # The program expands it.
    make_program ctest 'while [ "$1" != --output-junit ]; do shift; done' \
        "echo '<testsuite><testcase status=\"run\"/><testcase status=\"$1\"/></testsuite>' >\"\$2\"" \
        "echo 'what ctest says'" "exit $2"
}

make_ctest run 0

check_RunsTheTestsAloneIfNoStageIsNamed() {
    expect_success "$test"

    expect_equal $'cmake --preset dev\ncmake --build --preset dev' "$(grep '^cmake' "$calls")"
    expect_call 'ctest --preset dev '
    expect_last_line 'tests: 2 passed, 0 failed, 0 skipped'
}

check_RunsEveryStageIfToldAndShowsTheTimeOfEach() {
    local stage stages
    printf '#!/bin/sh\n' | tee "$checkout/scripts/fuzz" >"$checkout/scripts/bench"
    stages=$(sed -n 's/^#   \([a-z]\+\) .*/\1/p' "$test")

    expect_success "$test" all

    expect_equal 10 "$(wc -w <<<"$stages")"
    for stage in $stages; do
        expect_in_output "^$stage +[12] +0 +0 +[0-9]+$"
    done
    expect_call 'ctest --preset release-tests '
    expect_last_line 'tests: 14 passed, 0 failed, 0 skipped'
}

check_RefusesAStageThatDoesNotExist() {
    expect_status 2 "$test" dve

    expect_in_output "there is no stage 'dve'; choose from: dev release"
    expect_equal '' "$(cat "$calls")"
}

check_ShowsTheLogOfAStageThatFails() {
    make_ctest failed 8

    expect_status 1 "$test" dev format

    expect_in_output '^what ctest says$'
    expect_in_output '^-- format: 1 passed'
    expect_last_line 'tests: 2 passed, 1 failed, 0 skipped'
}

check_FailsWithoutAReport() {
    make_cmake "echo '[1/9] compiling'" "echo 'error: expected a semicolon'" 'exit 1'

    expect_status 1 "$test"

    expect_in_output '^error: expected a semicolon$'
    expect_not_in_output '^\[1/9\]'
    expect_last_line 'tests: 0 passed, 1 failed, 0 skipped'
}

check_InstallsThePackagesOfTheNamedStagesAlone() {
    lack_all_packages

    expect_success "$test"
    expect_call "apt-get .* install --no-install-recommends $(packages_of stages build tools test)$"

    : >"$calls"
    expect_success "$test" format shell
    expect_call "apt-get .* install --no-install-recommends $(packages_of stages check)$"
}

check_SaysBeforeAllElseThatThereIsNoPrivateRoot() {
    forbid_private_roots
    lack_all_packages

    expect_status 1 env DMN_TEST_REQUIRE_ALL=1 "$test"

    expect_in_output '^scripts/test: .* private root needs namespaces.*: no mount namespaces$'
    expect_no_call 'apt-get|cmake'
}

check_GoesOnWithoutPrivateRootsAndSaysSoOnce() {
    forbid_private_roots

    expect_success "$test" dev asan

    expect_equal 1 "$(grep -c 'Tests that need a private root will be skipped.*: no mount namespaces$' <<<"$output")"
    expect_last_line 'tests: 4 passed, 0 failed, 0 skipped'
}

check_NeedsNoPrivateRootToCheckSources() {
    forbid_private_roots

    expect_success env DMN_TEST_REQUIRE_ALL=1 "$test" format tidy shell headers

    expect_last_line 'tests: 4 passed, 0 failed, 0 skipped'
}

check_SaysBeforeAllElseWhichFoldersOtherAccountsMayNotEnter() {
    local advice
    chmod 700 "$checkout" "$TMPDIR/parent"
    lack_all_packages

    expect_status 1 "$test"

    expect_in_output "under other accounts, which may not enter $checkout $TMPDIR/parent\."
    expect_no_call 'apt-get|cmake'
    advice=$(grep -o 'chmod .*' <<<"$output")
    expect_success sh -c "$advice"
    expect_success "$test"
}

check_IsContentWithAnyFolderIfThereAreNoOtherAccounts() {
    chmod 700 "$checkout"
    forbid_private_roots

    expect_success "$test"
}

check_IsContentWithAnyFolderIfNoTestRuns() {
    chmod 700 "$checkout"

    expect_success "$test" format
}

check_BuildsWhatOtherAccountsCanRun() {
    umask 077

    expect_success "$test"

    expect_equal 755 "$(stat --format=%a "$checkout/build/dev/reports/..")"
}

check_ShowsOnATerminalEachStepInOneLine() {
    make_cmake "echo '[1/2] compiling'" "echo '[2/2] linking'"

    expect_success on_terminal "$test"

    expect_in_output $'\r\e\\[K.*-- dev, [0-9]+ s: \\[1/2\\] compiling.*\r\e\\[K.*-- dev, [0-9]+ s: \\[2/2\\] linking'
    expect_in_output $'^tests: 2 passed, 0 failed, 0 skipped\r$'
}

check_ShowsElsewhereOnlyNowAndThenALine() {
    make_cmake "printf '[%s/1000] compiling\n' {1..1000}"

    expect_success "$test"

    expect_in_output '^-- dev, [0-9]+ s: '
    [ "$(wc -l <<<"$output")" -lt 9 ] || fail "there are too many lines: $output"
    expect_line '^\[1000/1000\] compiling$' "$checkout/build/dev.log"
}

check_LeavesNoProcessBehindWhenInterrupted() {
    # shellcheck disable=SC2016 # The program expands it.
    make_program ctest 'echo $$ >'"$TMPDIR/pid" 'exec sleep 1000'

    expect_status 130 interrupt "$test"

    await "ctest has ended" [ ! -e "/proc/$(cat "$TMPDIR/pid")" ]
    expect_not_in_output '^tests:'
}

check_SaysThatTheLogCannotBeWritten() {
    mkdir "$checkout/build"
    ln -s /dev/full "$checkout/build/dev.log"

    expect_status 1 "$test"

    expect_in_output 'build/dev.log: No space left on device'
    expect_last_line 'tests: 2 passed, 1 failed, 0 skipped'
}

run_check "$@"
