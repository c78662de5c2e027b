#!/bin/bash
# The Debian packages of the library, on a clean Debian.
# Usage: packages.sh CHECK

# shellcheck source=debian.sh
. "${BASH_SOURCE[0]%/*}/debian.sh"

packages=$DMN_SYSTEM_LAYERS/product/packages

check_VersionIsThatOfTheProject() {
    local version
    version=$(sed -n 's/^#define DMN_VERSION_\(MAJOR\|MINOR\|PATCH\) //p' "$source/dmn/version.h" | paste -s -d .)
    expect_equal "$version" "$(dpkg-parsechangelog --file "$source/packaging/debian/changelog" --show-field Version)"
    for package in "$packages"/*.deb; do
        expect_equal "$version" "$(dpkg-deb --field "$package" Version)"
    done
}

check_RuntimePackagePullsInNothingBeyondTheBaseLibraryOfWxWidgets() {
    make_machine
    installed_packages >"$TMPDIR/before"

    expect_success apt install '/packages/libdmn1_*.deb'

    expect_equal 'libdmn1 libexpat1 libpcre2-32-0 libwxbase3.2-1' \
        "$(installed_packages | comm -13 "$TMPDIR/before" - | xargs)"
}

check_ShellsAndGdbFindWhatTheyLoad() {
    make_machine installed

    for file in bash-completion/completions/dmn zsh/vendor-completions/_dmn; do
        [ -s "$root/usr/share/$file" ] || fail "there is no $file"
    done
    local script library
    script=$(find "$root/usr/share/gdb/auto-load" -name 'libfdn.so.*-gdb.py')
    library=${script#"$root/usr/share/gdb/auto-load"}
    [ -f "$root${library%-gdb.py}" ] || fail "gdb's script is for no library: '$script'"
}

check_RemovedPackagesLeaveNothing() {
    make_machine installed

    expect_success apt purge libdmn1 libdmn-dev libdmn-doc

    expect_equal '' "$(find "$root/usr" "$root/etc" -regex '.*/\(lib\)?[df][mn]n[^/]*')"
}

# expect_whole_life FOLDER: the example minimal there must live its whole life by the README's commands.
expect_whole_life() {
    local life
    mapfile -t life < <(from_page README.md './minimal install' './minimal uninstall')
    expect_equal 4 ${#life[@]}

    expect_success in_folder "$1" "${life[0]}"
    expect_status 3 daemon_runs
    expect_success in_folder "$1" "${life[1]}"
    await "the daemon is up" daemon_runs
    expect_success in_folder "$1" "${life[2]}"
    expect_status 3 daemon_runs
    expect_success in_folder "$1" "${life[3]}"
    expect_equal '' "$(find "$root/etc" -name '*minimal')"
}

daemon_runs() {
    in_root start-stop-daemon --status --pidfile /var/lib/minimal/minimal.pid
}

# readme_command FIRST: prints the command between backquotes in README.md that begins like this.
readme_command() {
    local command
    command=$(tr '\n' ' ' <"$source/README.md" | grep -o "\`$1[^\`]*\`" | tr -d '`')
    [ -n "$command" ] || fail "README.md does not show '$1'"
    echo "$command"
}

copy_minimal() {
    expect_success in_root cp -r /usr/share/doc/libdmn-doc/examples/minimal /root
}

check_MinimalIsBuiltByTheCompilerAndPkgConfigAlone() {
    make_machine installed builder
    copy_minimal

    # shellcheck disable=SC2016 # The root's shell expands it.
    expect_success in_folder /root/minimal 'g++ main.cpp $(pkg-config --cflags --libs dmn) -o minimal'

    expect_whole_life /root/minimal
}

# The layer "builder" also has pkg-config, for those who build without CMake.
check_TemplateIsBuiltWithWhatTheReadmeNames() {
    expect_equal "apt install $(sed -n 's/^builder //p' "$here/../packaging/root-packages" | grep -vx pkg-config | xargs)" \
        "$(readme_command 'apt install cmake')"
}

check_MinimalIsBuiltByTheReadmesCommand() {
    make_machine installed builder
    copy_minimal

    expect_success in_folder /root/minimal "$(readme_command "g++ main")"

    expect_success in_root test -x /root/minimal/minimal
}

check_MinimalIsBuiltWithCMake() {
    make_machine installed builder
    copy_minimal
    {
        echo 'cmake_minimum_required(VERSION 3.25)'
        echo 'project(minimal LANGUAGES CXX)'
        # shellcheck disable=SC2016 # These backquotes are Markdown.
        sed -n '/^```cmake/,/^```/{/^```/!p}' "$source/README.md"
    } >"$root/root/minimal/CMakeLists.txt"

    expect_success in_folder /root/minimal 'cmake -B . && cmake --build .'

    expect_whole_life /root/minimal
}

run_check "$@"
