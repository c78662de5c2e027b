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
    local base
    base=$(dpkg-deb --field "$packages"/libdmn1_*.deb Depends | grep -o 'libwxbase[^ ,]*')
    make_machine
    installed_packages >"$TMPDIR/before"
    { echo libdmn1 && missing_packages "$base"; } | sort >"$TMPDIR/expected"

    expect_success apt install '/packages/libdmn1_*.deb'

    expect_success diff "$TMPDIR/expected" <(installed_packages | comm -13 "$TMPDIR/before" -)
}

# Everybody may look. An older library would lack what dmnctl calls.
check_ToolsRunForEverybodyAndComeWithTheirLibraries() {
    local version
    version=$(dpkg-deb --field "$packages"/dmn-tools_*.deb Version)
    make_machine

    expect_success apt install '/packages/libdmn1_*.deb' '/packages/dmn-tools_*.deb'

    expect_line "^libdmn1 \(>= ${version//./\\.}\)," <(dpkg-deb --field "$packages"/dmn-tools_*.deb Depends)
    expect_success in_root setpriv --reuid=nobody --regid=nogroup --clear-groups dmnctl --version
    expect_equal "dmnctl $version" "$output"
}

check_ShellsAndGdbFindWhatTheyLoad() {
    make_machine installed

    for file in bash-completion/completions/{dmn,dmnctl} zsh/vendor-completions/{_dmn,_dmnctl}; do
        [ -s "$root/usr/share/$file" ] || fail "there is no $file"
    done
    local script library
    script=$(find "$root/usr/share/gdb/auto-load" -name 'libfdn.so.*-gdb.py')
    library=${script#"$root/usr/share/gdb/auto-load"}
    [ -f "$root${library%-gdb.py}" ] || fail "gdb's script is for no library: '$script'"
}

check_RemovedPackagesLeaveNothing() {
    make_machine installed

    expect_success apt purge dmn-tools libdmn1 libdmn-dev libdmn-doc

    expect_equal '' "$(find "$root/usr" "$root/etc" -regex '.*/_?\(lib\)?\(dmn\|fdn\)[^/]*')"
}

# expect_whole_life FOLDER: the example minimal there must live its whole life by the README's commands.
expect_whole_life() {
    local life
    mapfile -t life < <(from_page README.md './minimal install' './minimal uninstall')
    expect_equal 5 ${#life[@]}

    expect_success in_folder "$1" "${life[0]}"
    expect_status 3 daemon_runs
    expect_success in_folder "$1" "${life[1]}"
    expect_success daemon_runs
    expect_success in_folder "$1" "${life[2]}"
    expect_success in_folder "$1" "${life[3]}"
    expect_status 3 daemon_runs
    expect_success in_folder "$1" "${life[4]}"
    expect_equal '' "$(find "$root/etc" -name '*minimal')"
}

daemon_runs() {
    in_root start-stop-daemon --status --pidfile /var/lib/minimal/minimal.pid
}

# page_command PAGE FIRST: prints the command between backquotes in the page that begins like this.
page_command() {
    local command
    command=$(tr '\n' ' ' <"$source/$1" | grep -o "\`$2[^\`]*\`" | tr -d '`')
    [ -n "$command" ] || fail "$1 does not show '$2'"
    echo "$command"
}

# cmake_of_page PAGE: prints the CMakeLists.txt that the page shows.
cmake_of_page() {
    # shellcheck disable=SC2016 # These backquotes are Markdown.
    sed -n '/^```cmake/,/^```/{/^```/!p}' "$source/$1"
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
check_TemplateIsBuiltWithWhatItsReadmeNames() {
    expect_equal "apt install $(sed -n 's/^builder //p' "$here/../packaging/root-packages" | grep -vx pkg-config | xargs)" \
        "$(page_command examples/template/README.md 'apt install cmake')"
}

check_MinimalIsBuiltByTheReadmesCommand() {
    make_machine installed builder
    copy_minimal

    expect_success in_folder /root/minimal "$(page_command README.md 'g++ main')"

    expect_success in_root test -x /root/minimal/minimal
}

check_MinimalIsBuiltByTheReadmesCMakeLists() {
    make_machine installed builder
    copy_minimal
    cmake_of_page README.md >"$root/root/minimal/CMakeLists.txt"

    expect_success in_folder /root/minimal 'cmake -B . && cmake --build .'

    expect_whole_life /root/minimal
}

# copy_guide: copies its code to /root/guide, without the rest of the sources.
copy_guide() {
    expect_success in_root cp -r /usr/share/doc/libdmn-doc/docs/guide/code /root/guide
}

check_FirstDaemonIsBuiltByTheGuidesCommand() {
    make_machine installed builder
    copy_guide

    expect_success in_folder /root/guide "$(line_of_page docs/guide/first-daemon.md 'g++')"

    expect_success in_root test -x /root/guide/loadwatch
}

check_FirstDaemonIsBuiltByTheGuidesCMakeLists() {
    make_machine installed builder
    copy_guide
    cmake_of_page docs/guide/first-daemon.md >"$root/root/guide/CMakeLists.txt"

    expect_success in_folder /root/guide 'cmake -B . && cmake --build .'

    expect_success in_root test -x /root/guide/loadwatch
}

check_OtherProgramsOfTheGuideAreBuiltFromTheInstalledFilesAlone() {
    make_machine installed builder
    copy_guide

    for files in configuration.cpp controlling.cpp moving_over.cpp operations.cpp plain.cpp 'CSampler.cpp sampler.cpp'; do
        expect_success in_folder /root/guide "g++ -std=c++17 $files \$(pkg-config --cflags --libs dmn) -o program"
    done
    expect_success in_folder /root/guide "$(line_of_page docs/guide/testing.md 'g++')"
    expect_success in_root /root/guide/sampler-tests
}

check_LibraryIsBuiltAndFoundInAPrefixAsThePageOnInstallingSays() {
    make_machine groups-to-build
    local page=docs/installing.md find
    mkdir "$root/root/dmn"
    tar -C "$source" --exclude=./build --exclude=./.git -c . | tar -C "$root/root/dmn" -x
    cp -r "$source/examples/minimal" "$root/root"
    cmake_of_page README.md >"$root/root/minimal/CMakeLists.txt"

    expect_success in_folder /root/dmn "set -e; $(from_page $page 'scripts/install-packages build tools$' 'cmake --install')"
    find=$(from_page $page 'export PKG_CONFIG_PATH' 'ldconfig')

    expect_success in_folder /root/minimal "set -e; $find; $(page_command README.md 'g++ main')"
    expect_whole_life /root/minimal
    rm "$root/root/minimal/minimal"
    expect_success in_folder /root/minimal "set -e; $find; cmake -B . && cmake --build ."
    expect_whole_life /root/minimal
}

run_check "$@"
