#!/usr/bin/env bash
# Proves a Windows build under wine. Usage: windows_test.sh CHECK, with what ctest sets:
#   SOURCE_DIR, BUILD_DIR   of the project
#   WINE                    runs a Windows program
set -euo pipefail

work=$BUILD_DIR/tests/windows
package=$work/package

fail() { echo "FAILED: $*" >&2; exit 1; }

# A server that outlives single programs, and the services that a first program would start: they
# keep the output of what started them open.
check_start() {
    "$WINE" --server -k >/dev/null 2>&1 || true # one of an earlier run
    "$WINE" --server -p >/dev/null 2>&1
    "$WINE" wineboot >/dev/null 2>&1
}

check_stop() { "$WINE" --server -k; }

# Also builds what the same files are written and compared with on this system.
check_package() {
    rm -rf "$package"
    mkdir -p "$work"
    (cd "$SOURCE_DIR" && cmake --preset release &&
        cmake --build --preset release --target write_cycle compare_files) >"$work/native.log"
    cmake --install "$BUILD_DIR" --prefix "$package" >"$work/install.log"
    find "$package" -name '*.dll' -printf '%f  %s bytes\n' | sort
}

# What the DLL needs, what it shows, and what it does not tell.
check_library() {
    local dll=$package/bin/MekApi2.dll needed exported
    needed=$(x86_64-w64-mingw32-objdump -p "$dll" | sed -n 's/.*DLL Name: //p' | sort | tr '\n' ' ')
    [ "$needed" = "ADVAPI32.dll KERNEL32.dll libgcc_s_seh-1.dll libstdc++-6.dll msvcrt.dll " ] ||
        fail "it needs other DLLs: $needed"
    exported=$(x86_64-w64-mingw32-objdump -p "$dll" |
        sed -n '/Name Pointer/,/^$/s/^.*\[ *[0-9]*\].* //p' | c++filt -p |
        sed -E -e 's/^[a-zA-Z -]+ (for|to) (Tyr::[^-]*)(-in-.*)?$/\2/' \
            -e 's/^(Tyr::[A-Za-z0-9]+::[A-Za-z0-9]+(<[a-z ]+>)?)::.*/\1/')
    [ "$(grep -c '^Tyr::Mek2::Model$' <<<"$exported")" -ge 32 ] || fail "Model is not exported"
    diff <(grep -v '^typeinfo' "$SOURCE_DIR/tests/install/exports.txt") <(LC_ALL=C sort -u <<<"$exported") ||
        fail "other classes are exported"
    ! strings -a "$dll" | grep -F -e "$SOURCE_DIR" -e "$BUILD_DIR" -e /usr || fail "it holds paths"
    ! grep -rIF -e "$SOURCE_DIR" "$package" || fail "the package holds paths"
}

# $1: file of Linux, $2: file of Windows
check_same() {
    "$WINE" "$package/bin/mekinfo.exe" --check "$2"
    "$SOURCE_DIR/build/release/bin/compare_files" "$1" "$2" || fail "$2 is another than $1"
}

# An application outside of the project, built against the package, writes what it writes on Linux.
check_application() {
    local output folder linux=$work/application/linux
    cmake -S "$SOURCE_DIR/tests/install/application" -B "$work/application" \
        --toolchain "$SOURCE_DIR/cmake/toolchains/mingw-w64.cmake" \
        -DCMAKE_FIND_ROOT_PATH="$package" -DEXAMPLES="$SOURCE_DIR/examples"
    cmake --build "$work/application"
    cd "$work/application"
    mkdir -p "$linux"
    export WINEPATH="Z:$package/bin" native=$SOURCE_DIR/build/release/bin/write_cycle
    output=$("$WINE" ./first_model.exe && "$WINE" ./application.exe linked &&
        "$WINE" ./host.exe libmodule.dll loaded && "$native" "$linux/linked" &&
        "$native" "$linux/loaded" && export MEKWRITER_DEFAULT_BLOCK_SIZE=1000 &&
        "$WINE" ./application.exe small && "$native" "$linux/small") || fail "$output"
    [ -z "$output" ] || fail "saving is not silent: $output"
    "$WINE" "$package/bin/mekinfo.exe" --check first_model.mek
    for folder in linked loaded small; do
        check_same "$linux/$folder/whole.mek" "$folder/whole.mek"
    done
}

# The programs find their DLLs beside them, take names of every kind, and convert as on Linux.
check_programs() {
    local folder=$work/programs/Λόγος example=$SOURCE_DIR/build/demo
    "$SOURCE_DIR/scripts/demo" >"$work/demo.log"
    mkdir -p "$folder"
    "$WINE" "$package/bin/frd2mek.exe" --overwrite "$example/bracket.frd" "$folder/bracket.mek"
    check_same "$example/bracket.mek" "$folder/bracket.mek"
}

"check_$1"
