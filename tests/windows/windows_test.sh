#!/usr/bin/env bash
# Tests a Windows build under Wine. Usage: windows_test.sh CHECK, with variables that ctest sets:
#   SOURCE_DIR, BUILD_DIR   of the project
#   WINE                    runs a Windows program
set -euo pipefail

work=$BUILD_DIR/tests/windows
package=$work/package

fail() { echo "FAILED: $*" >&2; exit 1; }

# Starts a server that outlives single programs, and Wine's services. The first program would start
# them otherwise, and they would keep its output open.
check_start() {
    "$WINE" --server -k >/dev/null 2>&1 || true # left by an earlier run
    "$WINE" --server -p >/dev/null 2>&1
    "$WINE" wineboot >/dev/null 2>&1
}

check_stop() { "$WINE" --server -k; }

# Also builds the programs that write the same files on this system and compare them.
check_package() {
    rm -rf "$package"
    mkdir -p "$work"
    (cd "$SOURCE_DIR" && cmake --preset release &&
        cmake --build --preset release --target write_cycle compare_files) >"$work/native.log"
    cmake --install "$BUILD_DIR" --prefix "$package" >"$work/install.log"
    find "$package" -name '*.dll' -printf '%f  %s bytes\n' | sort
}

# $1: DLL; the others that it needs
needed_by() {
    x86_64-w64-mingw32-objdump -p "$1" | sed -n 's/.*DLL Name: //p' | LC_ALL=C sort | tr '\n' ' '
}

# $1: DLL; the names that it exports
exported_by() {
    x86_64-w64-mingw32-objdump -p "$1" | sed -n '/Name Pointer/,/^$/s/^.*\[ *[0-9]*\].* //p'
}

# Which DLLs the libraries need, what they export, and that they contain no paths.
check_library() {
    local dll=$package/bin/MekApi2.dll c=$package/bin/mekapi2_c.dll exported
    local runtime="libgcc_s_seh-1.dll libstdc++-6.dll"
    [ "$(needed_by "$dll")" = "ADVAPI32.dll KERNEL32.dll $runtime msvcrt.dll " ] ||
        fail "it needs other DLLs: $(needed_by "$dll")"
    exported=$(exported_by "$dll" | c++filt -p |
        sed -E -e 's/^[a-zA-Z -]+ (for|to) (Tyr::[^-]*)(-in-.*)?$/\2/' \
            -e 's/^(Tyr::[A-Za-z0-9]+::[A-Za-z0-9]+(<[a-z ]+>)?)::.*/\1/')
    [ "$(grep -c '^Tyr::Mek2::Model$' <<<"$exported")" -ge 32 ] || fail "Model is not exported"
    diff <(grep -v '^typeinfo' "$SOURCE_DIR/tests/install/exports.txt") <(LC_ALL=C sort -u <<<"$exported") ||
        fail "other classes are exported"
    [ "$(needed_by "$c")" = "KERNEL32.dll MekApi2.dll $runtime msvcrt.dll " ] ||
        fail "the library for C needs other DLLs: $(needed_by "$c")"
    diff <(tr '\n' ' ' <"$package/include/mekapi2.h" | grep -oE ' MEK_API [^;(]*[ *]mek_[a-z0-9_]+\(' |
        grep -oE 'mek_[a-z0-9_]+\($' | tr -d '(' | LC_ALL=C sort) \
        <(exported_by "$c" | LC_ALL=C sort) || fail "the exports differ from those in mekapi2.h"
    ! strings -a "$dll" "$c" | grep -F -e "$SOURCE_DIR" -e "$BUILD_DIR" -e /usr || fail "it contains paths"
    ! grep -rIF -e "$SOURCE_DIR" "$package" || fail "the package contains paths"
}

# $1: file of Linux, $2: file of Windows
check_same() {
    "$WINE" "$package/bin/mekinfo.exe" --check "$2"
    "$SOURCE_DIR/build/release/bin/compare_files" "$1" "$2" || fail "$2 differs from $1"
}

# An application built against the package writes the same files as on Linux.
check_application() {
    local output folder linux=$work/application/linux
    cmake -S "$SOURCE_DIR/tests/install/application" -B "$work/application" \
        --toolchain "$SOURCE_DIR/cmake/toolchains/mingw-w64.cmake" \
        -DCMAKE_FIND_ROOT_PATH="$package" -DEXAMPLES="$SOURCE_DIR/examples"
    cmake --build "$work/application"
    cd "$work/application"
    mkdir -p "$linux"
    export WINEPATH="Z:$package/bin" native=$SOURCE_DIR/build/release/bin/write_cycle
    output=$("$WINE" ./first_model.exe && "$WINE" ./application.exe usual &&
        "$native" "$linux/usual" && export MEKWRITER_DEFAULT_BLOCK_SIZE=1000 &&
        "$WINE" ./application.exe small && "$native" "$linux/small") || fail "$output"
    [ -z "$output" ] || fail "saving is not silent: $output"
    "$WINE" "$package/bin/mekinfo.exe" --check first_model.mek
    for folder in usual small; do
        check_same "$linux/$folder/whole.mek" "$folder/whole.mek"
    done
}

# The programs find their DLLs in their own folder, accept any path, and convert as on Linux.
check_programs() {
    local folder=$work/programs/Λόγος example=$SOURCE_DIR/build/demo
    "$SOURCE_DIR/scripts/demo" >"$work/demo.log"
    mkdir -p "$folder"
    "$WINE" "$package/bin/frd2mek.exe" --overwrite "$example/bracket.frd" "$folder/bracket.mek"
    check_same "$example/bracket.mek" "$folder/bracket.mek"
}

"check_$1"
