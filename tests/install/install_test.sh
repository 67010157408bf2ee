#!/usr/bin/env bash
# Uses the library as it is installed. Usage: install_test.sh CHECK, with what ctest sets:
#   SOURCE_DIR, BUILD_DIR   of the project
#   CXX, CXXFLAGS           the compiler of the build and the flags that it was given
# or a caller with a package elsewhere:
#   PREFIX                  the folder of bin, include and lib
set -euo pipefail

work=$BUILD_DIR/tests/install/package
prefix=${PREFIX:-$work/moved}
read -r -a compile <<<"$CXX $CXXFLAGS -std=c++17"
warnings=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

fail() { echo "FAILED: $*" >&2; exit 1; }

# The package works where it was not installed to.
check_prefix() {
    rm -rf "$work"
    mkdir -p "$work"
    cmake --install "$BUILD_DIR" --prefix "$work/fresh" >"$work/install.log"
    mv "$work/fresh" "$prefix"
    ! ldd "$prefix"/bin/* "$prefix"/lib*/*.so | grep "not found" || fail "a library is missing"
}

# $1: folder of the built programs
run_programs() {
    local output
    output=$( (cd "$1" && ./write_model && ./application linked &&
        ./host ./libmodule.so loaded) 2>&1) || fail "$output"
    [ -z "$output" ] || fail "saving is not silent: $output"
    for file in "$1"/{plate,{linked,loaded}/whole}.mek; do
        "$prefix/bin/mekinfo" --check "$file" >/dev/null || fail "mekinfo --check $file"
    done
}

check_cmake() {
    cmake -S "$SOURCE_DIR/tests/install/application" -B "$work/cmake" \
        -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_CXX_FLAGS="$CXXFLAGS" \
        -DEXAMPLES="$SOURCE_DIR/examples"
    cmake --build "$work/cmake"
    run_programs "$work/cmake"
}

check_pkg_config() {
    local flags library_dir sources=$SOURCE_DIR/tests/install/application
    export PKG_CONFIG_PATH
    PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name mekapi2.pc)")
    read -r -a flags < <(pkg-config --cflags --libs mekapi2)
    library_dir=$(pkg-config --variable=libdir mekapi2)
    compile+=(-fvisibility=hidden "${warnings[@]}" -I"$SOURCE_DIR/tests")
    mkdir -p "$work/pkg_config"
    cd "$work/pkg_config"
    "${compile[@]}" "$SOURCE_DIR/examples/write_model.cpp" -o write_model "${flags[@]}"
    "${compile[@]}" "$sources/main.cpp" "$sources/application.cpp" -o application "${flags[@]}"
    "${compile[@]}" -shared -fPIC "$sources/application.cpp" -o libmodule.so "${flags[@]}"
    "${compile[@]}" "$sources/host.cpp" -o host -ldl
    LD_LIBRARY_PATH=$library_dir run_programs "$work/pkg_config"
}

# The program in the README is the one that was compiled.
check_readme() {
    diff <(sed -n '/^```cpp$/,/^```$/{/^```/d;p}' "$SOURCE_DIR/README.md") \
        "$SOURCE_DIR/examples/write_model.cpp" || fail "README.md and examples/write_model.cpp differ"
}

# Every public header stands alone, compiles without warnings and brings in no Eigen.
check_headers() {
    local header used
    while IFS= read -r header; do
        used=$("${compile[@]}" "${warnings[@]}" -I"$prefix/include" -MD -MF - -o /dev/null -c \
            -x c++ -include "$header" /dev/null) || fail "$header"
        ! grep -qi eigen <<<"$used" || fail "$header brings in Eigen"
    done < <(cd "$prefix/include" && find tyr -name '*.hpp')
}

# $1: expression; compiles it as the body of a function
compile_call() {
    "${compile[@]}" -I"$prefix/include" -fsyntax-only -x c++ - 2>&1 <<<"
        #include <tyr/mek2/model.hpp>
        using namespace Tyr::Mek2;
        void call(Model& model, Array1d<float>& array) { model.addArrayProperty($1); }"
}

check_refused_calls() {
    local call output type=DatasetType::NodeIds
    compile_call "$type, array, 1U, Step{}" || fail "a good call does not compile"
    for call in "$type, std::vector<float>(3), 1U, Step{}" "$type, array, 1, Step{}" \
        "\"name\", $type, array, 1U, std::string()"; do
        ! output=$(compile_call "$call") || fail "compiles: $call"
        grep -q "Model::addArrayProperty takes an Array1d or Array2d of float" <<<"$output" ||
            fail "$call: $output"
    done
}

# Which classes the library exports something of, and of what it exports only the type.
check_exports() {
    local library symbols
    library=$(find "$prefix" -name libMekApi2.so)
    [ "$(readelf -d "$library" | grep -c 'SONAME.*\[libMekApi2.so.2\]')" -eq 1 ] || fail "SONAME"
    symbols=$(nm -D --defined-only "$library" | awk '{print $3}' | c++filt -p)
    [ "$(grep -c '^Tyr::Mek2::Model::addArrayProperty<' <<<"$symbols")" -eq 32 ] ||
        fail "not 32 instances of addArrayProperty"
    diff "$SOURCE_DIR/tests/install/exports.txt" <(sed -E \
        -e 's/^(vtable|VTT|virtual thunk to|typeinfo) (for )?(Tyr::.*)/\3/' \
        -e 's/^typeinfo name for/typeinfo for/' \
        -e 's/^(Tyr::[A-Za-z0-9]+::[A-Za-z0-9]+(<[a-z ]+>)?)::.*/\1/' <<<"$symbols" |
        LC_ALL=C sort -u) || fail "other classes are exported"
}

check_paths() {
    local library texts
    library=$(find "$prefix" -name libMekApi2.so)
    texts=$(strings -a "$library")
    grep -q 'tyr/qbf/index.cpp$' <<<"$texts" || fail "no source path at all in $library"
    ! grep -F -e "$SOURCE_DIR" -e "$BUILD_DIR" <<<"$texts" || fail "$library holds build paths"
    ! grep -rIF -e "$SOURCE_DIR" -e "$work" "$prefix" || fail "the package holds build paths"
}

"check_$1"
