#!/bin/bash
# scripts/install-packages.
# Usage: install_packages.sh CHECK

# shellcheck source=checkout.sh
. "${BASH_SOURCE[0]%/*}/checkout.sh"

make_checkout
install_packages=$checkout/scripts/install-packages
advice="As root, install the packages by hand: apt-get install --no-install-recommends $(packages_of build)$"

as_dmnuser() {
    setpriv --reuid=dmnuser --regid=dmnuser --init-groups "$@"
}

forbid_sudo() {
    local sudo
    sudo=$(command -v sudo) || return 0
    mount -n --bind /dev/null "$sudo"
}

check_InstallsNothingIfNothingIsMissing() {
    expect_success "$install_packages"

    expect_equal '' "$output"
    expect_no_call apt-get
}

check_InstallsOnlyWhatIsMissing() {
    # shellcheck disable=SC2016 # The program expands it.
    make_program dpkg-query '[ "${@: -1}" != cmake ] && echo installed'

    expect_success "$install_packages" build test

    expect_in_output '^Installing cmake$'
    expect_call 'apt-get .* install --no-install-recommends cmake$'
}

check_InstallsEachGroupThatIsNamed() {
    lack_all_packages

    expect_success "$install_packages" build clang

    expect_call 'apt-get .* update$'
    expect_call "apt-get .* install --no-install-recommends $(packages_of build clang)$"
}

check_RefusesAGroupThatDoesNotExist() {
    expect_status 2 "$install_packages" build biuld

    expect_in_output "there is no group 'biuld'"
    expect_equal '' "$(cat "$calls")"
}

check_ShowsWhatAptGetDoes() {
    lack_all_packages
    make_program apt-get 'echo "Unpacking cmake"'

    expect_success on_terminal "$install_packages build"

    expect_in_output 'apt-get install, [0-9]+ s: Unpacking cmake'
}

check_SaysWhyAptGetHasFailed() {
    lack_all_packages
    make_program apt-get 'echo "E: Could not resolve mirror.example" >&2; exit 100'

    expect_status 1 "$install_packages" build

    expect_in_output '^E: Could not resolve mirror.example$'
    expect_in_output "^install-packages: apt-get update has failed\. $advice"
}

check_SaysThatThereIsNeitherRootNorSudo() {
    lack_all_packages
    forbid_sudo

    expect_status 1 as_dmnuser "$install_packages" build

    expect_in_output "^install-packages: only root can install packages, and there is no sudo here\. $advice"
    expect_no_call apt-get
}

check_LeavesItToSudoToSayWhyItRefuses() {
    lack_all_packages
    make_program sudo 'echo "dmnuser is not in the sudoers file." >&2; exit 1'

    expect_status 1 as_dmnuser "$install_packages" build

    expect_in_output '^dmnuser is not in the sudoers file\.$'
    expect_in_output "^install-packages: only root can install packages, and sudo has refused\. $advice"
    expect_no_call apt-get
}

check_InstallsThroughSudo() {
    lack_all_packages
    # shellcheck disable=SC2016 # The program expands it.
    make_program sudo 'exec "$@"'
    chmod a+rwx "$checkout"

    expect_success as_dmnuser "$install_packages" build

    expect_call 'sudo .*apt-get .* install '
    expect_call "apt-get .* install --no-install-recommends $(packages_of build)$"
}

run_check "$@"
