#!/bin/bash
# What programs compiled against the public headers rely on stays as the last release has it, and is the same with every
# compiler.
# Usage: interface.sh CHECK
#
# DMN_SHARED is the build folder of the libraries that are tested; DMN_CLANG and DMN_LTO are those of the same libraries
# made with clang and with link-time optimization.

# shellcheck source=check.sh
. "${BASH_SOURCE[0]%/*}/../system/check.sh"

here=${BASH_SOURCE[0]%/*}
record=$(cd "$here/../../packaging/interface" && pwd)
prefix=${TMPDIR:-}/prefix

install_library() {
    rm -rf "$prefix"
    expect_success cmake --install "$1" --prefix "$prefix"
}

# Other machines have other layouts, and other compilers describe the same layout in other words.
require_what_the_record_was_made_with() {
    local library=$prefix/lib/libdmn.so compilers sections
    [ "$(uname -m)" = x86_64 ] || give_up 'the interface was recorded on amd64'
    compilers=$(readelf --string-dump=.comment "$library")
    [[ $compilers == *'GCC: '*' 12.'* && $compilers != *clang* ]] || give_up 'the interface was recorded with g++ 12'
    sections=$(readelf --sections "$library")
    [[ $sections == *.debug_info* ]] || give_up 'the library has no debug information'
}

check_LibrariesKeepTheRecordedInterface() {
    install_library "$DMN_SHARED"
    require_what_the_record_was_made_with

    for name in fdn dmn; do
        "$record/describe" "$prefix/include" "$prefix/lib/lib$name.so" >"$TMPDIR/$name.abi"
        expect_success abidiff --no-added-syms "$record/lib$name.abi" "$TMPDIR/$name.abi"
    done
}

# recorded_symbols NAME, built_symbols NAME: print NAME@@VERSION of each symbol of the library.
recorded_symbols() {
    sed -n "s/.*<elf-symbol name='\([^']*\)'.* version='\([^']*\)'.*/\1@@\2/p" "$record/lib$1.abi" | sort
}

built_symbols() {
    nm --dynamic --defined-only --with-symbol-versions "$prefix/lib/lib$1.so" | cut -d ' ' -f 3 | sort
}

# A program that needs a symbol without a new version starts with an older library, and ends at the call.
check_SymbolsThatAreNotRecordedHaveANewVersion() {
    install_library "$DMN_SHARED"
    require_what_the_record_was_made_with

    local name versions
    for name in fdn dmn; do
        versions=$(recorded_symbols $name | sed 's/.*@@//' | sort -u)
        [ -n "$versions" ] || fail "lib$name.abi records no version"
        expect_equal '' "$(comm -13 <(recorded_symbols $name) <(built_symbols $name) |
            grep -E "@@(${versions//$'\n'/|})$" | xargs)"
    done
}

# exported_symbols FOLDER NAME: prints those of the library in a build folder. An abstract class has constructors for
# objects of its own (C1) from g++ alone; nobody can call them, and the others (C2) stand for both.
exported_symbols() {
    nm --dynamic --defined-only "$1/$2/lib$2.so" | sed 's/.* //; s/C1E/C2E/' | sort -u
}

check_EveryCompilerExportsTheSameSymbols() {
    for name in fdn dmn; do
        for folder in "$DMN_CLANG" "$DMN_LTO"; do
            expect_equal '' "$(comm -3 <(exported_symbols "$DMN_SHARED" $name) <(exported_symbols "$folder" $name) |
                c++filt | xargs -d '\n')"
        done
    done
}

# flags_of_package: how programs are compiled and linked with the installed library.
flags_of_package() {
    PKG_CONFIG_PATH=$prefix/lib/pkgconfig pkg-config --cflags --libs dmn
}

# A program's own table would stay as it was when the program was compiled. The options make the compilers emit all that
# they emit for a program that uses everything.
check_ProgramsHaveNoVirtualTablesOfPublicClasses() {
    install_library "$DMN_SHARED"

    local compiler
    for compiler in 'g++ -fkeep-inline-functions' 'clang++ -femit-all-decls'; do
        # shellcheck disable=SC2046,SC2086 # There are several flags.
        expect_success $compiler -std=c++17 -x c++ -c "$prefix/include/dmn/dmn.h" -o "$TMPDIR/all.o" $(flags_of_package)
        expect_line ' U vtable for fdn::String$' <(nm --demangle "$TMPDIR/all.o")
        # The buffers are templates, of which every program that uses them has its own.
        expect_no_line ' (vtable|VTT|typeinfo|typeinfo name) for (fdn|dmn|dmnm)::' \
            <(nm --demangle --defined-only "$TMPDIR/all.o" | grep -v 'fdn::T[A-Za-z]*Buffer<')
    done
}

# expect_types_shared COMPILER FOLDER: between a program by the compiler and the libraries in the build folder.
expect_types_shared() {
    install_library "$2"
    # shellcheck disable=SC2046 # There are several flags.
    expect_success "$1" -std=c++17 -Wall -Wextra -Wpedantic -Werror "$here/types.cpp" $(flags_of_package) \
        -o "$TMPDIR/types"
    LD_LIBRARY_PATH=$prefix/lib expect_success "$TMPDIR/types"
}

check_ProgramByClangSharesTypesWithLibrariesByGxx() {
    expect_types_shared clang++ "$DMN_SHARED"
}

check_ProgramByGxxSharesTypesWithLibrariesByClang() {
    expect_types_shared g++ "$DMN_CLANG"
}

check_ProgramByGxxSharesTypesWithLibrariesByLinkTimeOptimization() {
    expect_types_shared g++ "$DMN_LTO"
}

run_check "$@"
