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

check_package() {
    rm -rf "$package"
    mkdir -p "$work"
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

# An application outside of the project, built against the package.
check_application() {
    local output
    cmake -S "$SOURCE_DIR/tests/install/application" -B "$work/application" \
        --toolchain "$SOURCE_DIR/cmake/toolchains/mingw-w64.cmake" \
        -DCMAKE_FIND_ROOT_PATH="$package" -DEXAMPLES="$SOURCE_DIR/examples"
    cmake --build "$work/application"
    cd "$work/application"
    export WINEPATH="Z:$package/bin"
    output=$("$WINE" ./write_model.exe && "$WINE" ./application.exe linked &&
        "$WINE" ./host.exe libmodule.dll loaded &&
        MEKWRITER_DEFAULT_BLOCK_SIZE=1000 "$WINE" ./application.exe small_blocks) || fail "$output"
    [ -z "$output" ] || fail "saving is not silent: $output"
    for file in plate.mek linked/whole.mek loaded/whole.mek small_blocks/whole.mek; do
        "$WINE" "$package/bin/mekinfo.exe" --check "$file"
    done
}

# Builds what compares files, and what converts the example, on this system too.
build_native() {
    native=$SOURCE_DIR/build/release/bin
    (cd "$SOURCE_DIR" && cmake --preset release &&
        cmake --build --preset release --target write_models compare_files) >"$work/native.log"
}

# The programs find their DLLs beside them, take names of every kind, and convert as on Linux.
check_programs() {
    local folder=$work/programs/Λόγος example=$SOURCE_DIR/build/demo
    build_native
    "$SOURCE_DIR/scripts/demo" >"$work/demo.log"
    rm -rf "$work/programs"
    mkdir -p "$folder" "$work/programs/linux"
    cp "$example/bracket.mek" "$work/programs/linux"
    "$WINE" "$package/bin/frd2mek.exe" "$example/bracket.frd" "$folder/bracket.mek"
    "$WINE" "$package/bin/mekinfo.exe" --check "$folder/bracket.mek"
    "$native/compare_files" "$work/programs/linux" "$folder"
}

# The same models, written here by both systems.
check_same_files() {
    build_native
    rm -rf "$work/linux" "$work/windows"
    mkdir -p "$work/linux" "$work/windows"
    "$native/write_models" "$work/linux"
    "$WINE" "$BUILD_DIR/bin/write_models.exe" "$work/windows"
    "$native/compare_files" "$work/linux" "$work/windows"
}

"check_$1"
