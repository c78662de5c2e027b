#!/bin/bash
# The library as other projects get it: installed, from its build folder, or as a part of the project.
# Usage: install.sh CHECK
#
# DMN_SHARED and DMN_STATIC are the build folders of the shared and of the static libraries, DMN_SUBDIRECTORY and
# DMN_CONTENT those of projects that contain them.

# shellcheck source=check.sh
. "${BASH_SOURCE[0]%/*}/../system/check.sh"

here=${BASH_SOURCE[0]%/*}
source=$(cd "$here/../.." && pwd)
prefix=${TMPDIR:-}/prefix
libraries=$prefix/lib
strict=(-std=c++17 -Wall -Wextra -Wpedantic -Werror)
strictest=("${strict[@]}" -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wcast-qual -Wnon-virtual-dtor
    -Woverloaded-virtual -Wformat=2 -Wundef -Wnull-dereference -Wdouble-promotion -Wextra-semi)

install_library() {
    expect_success cmake --install "$1" --prefix "$prefix"
}

# build_consumer COMPILER ARGUMENT...: builds it with CMake and the package, and tries it.
build_consumer() {
    expect_success cmake -S "$here/consumer" -B "$TMPDIR/build" -D CMAKE_CXX_COMPILER="$1" -D WAY=package \
        -D DMN_VERSION=1 -D DMN_SOURCE="$source" -D CMAKE_PREFIX_PATH="$prefix" "${@:2}"
    expect_success cmake --build "$TMPDIR/build" --parallel 2
    expect_works "$TMPDIR/build/consumer"
}

# expect_works PROGRAM: the example must install and uninstall itself.
expect_works() {
    expect_success "$1" install --controlFolder="$TMPDIR/control"
    expect_success /etc/init.d/minimal printControlFolder
    expect_in_output "^$TMPDIR/control$"
    expect_success "$1" uninstall
    expect_absent /etc/init.d/minimal
}

# expect_linked LIBRARY PROGRAM, expect_not_linked LIBRARY PROGRAM
expect_linked() {
    expect_line "NEEDED.*$1" <(readelf --dynamic "$2")
}

expect_not_linked() {
    expect_no_line "NEEDED.*$1" <(readelf --dynamic "$2")
}

expect_shared_consumer_by_package() {
    install_library "$DMN_SHARED"
    build_consumer "$1"
    expect_linked libdmn.so.1 "$TMPDIR/build/consumer"
}

expect_static_consumer_by_package() {
    install_library "$DMN_STATIC"
    build_consumer "$1"
    expect_not_linked libdmn "$TMPDIR/build/consumer"
}

check_GxxConsumerFindsThePackageOfTheSharedLibraries() {
    expect_shared_consumer_by_package g++
}

check_ClangConsumerFindsThePackageOfTheSharedLibraries() {
    expect_shared_consumer_by_package clang++
}

check_GxxConsumerFindsThePackageOfTheStaticLibraries() {
    expect_static_consumer_by_package g++
}

check_ClangConsumerFindsThePackageOfTheStaticLibraries() {
    expect_static_consumer_by_package clang++
}

check_PackageOfAnotherMajorVersionIsRefused() {
    install_library "$DMN_SHARED"

    expect_status 1 cmake -S "$here/consumer" -B "$TMPDIR/build" -D WAY=package -D DMN_VERSION=2 \
        -D DMN_SOURCE="$source" -D CMAKE_PREFIX_PATH="$prefix"

    expect_in_output 'requested version "2"'
}

check_ConsumerFindsThePackageInTheBuildFolder() {
    build_consumer g++ -D dmn_DIR="$DMN_SHARED"
    expect_linked libdmn.so.1 "$TMPDIR/build/consumer"
}

check_ConsumerWithTheLibraryAsSubdirectory() {
    expect_works "$DMN_SUBDIRECTORY/consumer"
    expect_not_linked libdmn "$DMN_SUBDIRECTORY/consumer"
}

check_ConsumerWithTheLibraryAsFetchedContent() {
    expect_works "$DMN_CONTENT/consumer"
    expect_linked libdmn.so.1 "$DMN_CONTENT/consumer"
}

# expect_consumer_by_pkg_config COMPILER OPTION...
expect_consumer_by_pkg_config() {
    local flags
    flags=$(PKG_CONFIG_PATH=$libraries/pkgconfig pkg-config --cflags --libs "${@:2}" dmn)
    # shellcheck disable=SC2086 # There are several flags.
    expect_success "$1" "${strict[@]}" "$source/examples/minimal/main.cpp" $flags -o "$TMPDIR/consumer"
    LD_LIBRARY_PATH=$libraries expect_works "$TMPDIR/consumer"
}

check_ConsumerByPkgConfigWithTheSharedLibraries() {
    install_library "$DMN_SHARED"
    for compiler in g++ clang++; do
        expect_consumer_by_pkg_config $compiler
        expect_linked libdmn.so.1 "$TMPDIR/consumer"
    done
}

check_ConsumerByPkgConfigWithTheStaticLibraries() {
    install_library "$DMN_STATIC"
    for compiler in g++ clang++; do
        expect_consumer_by_pkg_config $compiler --static
        expect_not_linked libdmn "$TMPDIR/consumer"
    done
}

check_HeadersMakeNoCompilerWarn() {
    install_library "$DMN_SHARED"
    local flags compiler level
    flags=$(PKG_CONFIG_PATH=$libraries/pkgconfig pkg-config --cflags dmn)
    for compiler in g++ clang++; do
        for level in 0 1 2 3; do
            # shellcheck disable=SC2086 # There are several flags.
            expect_success $compiler "${strictest[@]}" -O$level ${flags//-I\/usr\//-isystem /usr/} \
                -c "$here/header_uses.cpp" -o "$TMPDIR/header_uses.o"
        done
    done
}

# Fails if the tests are added, because they cannot find GoogleTest.
expect_no_tests() {
    expect_success cmake -B "$TMPDIR/build" -D CMAKE_DISABLE_FIND_PACKAGE_GTest=ON "$@"
}

check_BuildTestingSwitchesTheTestsOff() {
    expect_no_tests -S "$source" -D DMN_BUILD_TESTS=ON -D BUILD_TESTING=OFF
}

check_BuildTestingOfAnotherProjectBuildsTheTestsOfThatAlone() {
    expect_no_tests -S "$here/consumer" -D WAY=subdirectory -D DMN_SOURCE="$source" -D BUILD_TESTING=ON
}

check_ToolsAreInstalledWithTheirPageAndTheirCompletion() {
    install_library "$DMN_SHARED"

    expect_success env LD_LIBRARY_PATH="$libraries" "$prefix/bin/dmnctl" --version
    for file in man/man8/dmnctl.8 bash-completion/completions/dmnctl zsh/site-functions/_dmnctl; do
        [ -s "$prefix/share/$file" ] || fail "there is no $file"
    done
}

# without_packages_of_tools ARGUMENT...: configures where there are none of the packages that only dmnctl needs.
without_packages_of_tools() {
    local options
    mapfile -t options < <(
        sed -n 's/^find_package(\([^ ]*\) .*/-DCMAKE_DISABLE_FIND_PACKAGE_\1=ON/p' "$source/dmnctl/CMakeLists.txt")
    cmake -B "$TMPDIR/build" "${options[@]}" "$@"
}

check_LibrariesAreBuiltWithoutThePackagesOfTheToolsIfTheseAreNotWanted() {
    expect_status 1 without_packages_of_tools -S "$source"

    expect_success without_packages_of_tools -S "$source" -D DMN_BUILD_TOOLS=OFF
}

check_ProjectThatContainsTheLibrariesNeedsNoPackagesOfTheTools() {
    expect_success without_packages_of_tools -S "$here/consumer" -D WAY=subdirectory -D DMN_SOURCE="$source"
}

check_StagedInstallationKnowsOnlyItsPrefix() {
    expect_success env DESTDIR="$TMPDIR/stage" cmake --install "$DMN_SHARED" --prefix /opt/dmn

    expect_equal 'dmn.pc fdn.pc' "$(cd "$TMPDIR/stage/opt/dmn/lib/pkgconfig" && grep -l '^prefix=/opt/dmn$' -- * | xargs)"
    expect_status 1 grep -rlE "$TMPDIR|$DMN_SHARED|$source" "$TMPDIR/stage" --include=*.pc --include=*.cmake
    expect_equal opt "$(ls "$TMPDIR/stage")"
}

check_LibrariesHaveTheirNamesAndVersions() {
    install_library "$DMN_SHARED"

    for name in fdn dmn; do
        expect_line "SONAME.*\[lib$name\.so\.1]" <(readelf --dynamic "$libraries/lib$name.so")
        expect_equal "lib$name.so.1" "$(readlink "$libraries/lib$name.so")"
        expect_line "^lib$name\.so\.1\.[0-9]+\.[0-9]+$" <(readlink "$libraries/lib$name.so.1")
    done
}

# exported_symbols NAME: prints those of the library, except the name of the version itself.
exported_symbols() {
    nm --dynamic --defined-only --with-symbol-versions --demangle "$libraries/lib$1.so" | cut -c 18- |
        grep -v "^A ${1^^}_1"
}

check_EverySymbolHasAVersionAndBelongsToAPublicNamespace() {
    install_library "$DMN_SHARED"

    local name namespaces=fdn
    for name in fdn dmn; do
        expect_line "$name::.*@@${name^^}_1$" <(exported_symbols $name)
        expect_line "$name::.*@@${name^^}_1\.1$" <(exported_symbols $name)
        expect_no_line '' <(exported_symbols $name |
            grep -vE "^[A-Z] ((typeinfo( name)?|vtable|VTT|(non-)?(virtual )?thunk) (for|to) )?($namespaces)::.*@@${name^^}_1(\.[0-9]+)?$")
        namespaces='dmn|dmnm'
    done
}

# exported_names NAME: prints every name in the qualified names of the symbols: namespaces, classes, functions.
exported_names() {
    exported_symbols "$1" |
        sed -E 's/^. //; s/^[^:(]* (for|to) //; s/@@.*//; s/\[abi:\w+]//; s/\(.*//; :again; s/<[^<>]*>//; t again' |
        grep -oE '\w+' | sort -u
}

# Private functions that templates and inline functions of the headers call: programs need their symbols.
needed_names() {
    echo compareNarrow
}

# offered_names: prints every word of the installed headers' code, except in private sections. Such a section ends with
# the next one, or with its class, at the same indentation.
offered_names() {
    find "$prefix/include" -name '*.h' -exec sed 's,//.*,,' {} + | awk '
        { column = match($0, /[^ ]/) }
        $1 ~ /^(public:|protected:|};)$/ && column <= hidden { hidden = 0 }
        $1 == "private:" && !hidden { hidden = column }
        !hidden' | grep -oE '\w+'
}

# Classes and steps that are private to an exported class are no part of the interface. This cannot see those with a
# name that is public elsewhere.
check_EverySymbolIsOfferedByAPublicHeader() {
    install_library "$DMN_SHARED"

    for name in fdn dmn; do
        expect_line "^$name$" <(exported_names $name)
        expect_equal '' "$(comm -23 <(exported_names $name) <({ offered_names; needed_names; } | sort -u) | xargs)"
    done
}

run_check "$@"
