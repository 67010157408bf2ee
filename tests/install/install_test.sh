#!/usr/bin/env bash
# Tests the installed library. Usage: install_test.sh CHECK, with these variables:
#   SOURCE_DIR, BUILD_DIR   folders of the project
#   CXX, CXXFLAGS, C        compilers of the build and their flags
#   MPIEXEC                 for the check "mpi"
#   PREFIX                  (optional) the folder with bin, include and lib of another package
#   READER                  (optional) the folder with the Python package of another package
#   MEKINFO, PKG_CONFIG     (optional) commands to use instead of those of package and system
set -euo pipefail

work=$BUILD_DIR/tests/install/package
prefix=${PREFIX:-$work/moved}
mekinfo=${MEKINFO:-$prefix/bin/mekinfo}
read -r -a compile <<<"$CXX $CXXFLAGS -std=c++17"
warnings=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

fail() { echo "FAILED: $*" >&2; exit 1; }

# $1: folder of the source, $2: folder of the build, then options of CMake
configure() {
    cmake -S "$SOURCE_DIR/$1" -B "$2" -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_CXX_FLAGS="$CXXFLAGS" \
        -DCMAKE_PREFIX_PATH="$prefix" "${@:3}"
}

# folder_of FILE: in the package
folder_of() { dirname "$(find "$prefix" -name "$1")"; }

# pkg_config NAME OPTION...
pkg_config() {
    local command
    read -r -a command <<<"${PKG_CONFIG:-pkg-config}"
    PKG_CONFIG_PATH=$(folder_of "$1.pc") "${command[@]}" "${@:2}" "$1"
}

# flags_of NAME [OPTION...]: reads the flags of pkg-config into the array `flags`
flags_of() { read -r -a flags < <(pkg_config "$@" --cflags --libs); }

# example_of HEADER: the example in its comment
example_of() {
    sed -n '\,^/// @code$,,\,^/// @endcode$,{s,^/// \?,,;/^@/!p}' "$prefix/include/$1"
}

# The package works after it was moved.
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
    output=$( (cd "$1" && ./first_model && ./application whole) 2>&1) || fail "$output"
    [ -z "$output" ] || fail "saving is not silent: $output"
    for file in "$1"/{first_model,whole/whole}.mek; do
        "$mekinfo" --check "$file" >/dev/null || fail "mekinfo --check $file"
    done
}

check_cmake() {
    configure tests/install/application "$work/cmake" -DEXAMPLES="$SOURCE_DIR/examples"
    cmake --build "$work/cmake"
    run_programs "$work/cmake"
}

# The examples build from the package, and one of them reads what another has written.
check_reader() {
    local flags header line
    configure examples "$work/examples"
    cmake --build "$work/examples" --target first_model --target maximum_of_results
    flags_of mekapi2-reader
    cd "$work/examples"
    "${compile[@]}" "${warnings[@]}" "$SOURCE_DIR/examples/maximum_of_results.cpp" -o maximum \
        "${flags[@]}"
    ./first_model model.mek
    diff <(./maximum model.mek) <(./maximum_of_results model.mek) || fail "the programs differ"
    for header in container error model navigation quotes variables; do
        example_of mekreader/$header.hpp >example.cpp
        "${compile[@]}" "${warnings[@]}" example.cpp -o example "${flags[@]}"
        ./example model.mek >>examples.txt
    done
    for line in '1 Group bar' '/bar/HE8: 1 children' '"model.mek"' 'Temperature at all steps'; do
        grep -qxF "$line" examples.txt || fail "$line is not in: $(<examples.txt)"
    done
}

# $1: language; builds the solver in a new folder with CMake, and from the command line given by the
# other arguments. Both write the same model.
check_solver() {
    local folder=$work/$1 flags c
    read -r c _ <<<"${C:-cc}"
    flags_of "mekapi2-$1"
    rm -rf "$folder"
    mkdir -p "$folder"
    configure examples "$folder/cmake" -DCMAKE_C_COMPILER="$c" "-DCMAKE_${1^}_FLAGS=$CXXFLAGS"
    cmake --build "$folder/cmake" --target "heat_$1"
    cd "$folder"
    "${@:2}" -o heat "${flags[@]}" -Wl,-rpath,"$(folder_of libmekapi2_c.so)"
    "cmake/heat_$1" cmake.mek
    ./heat pkg_config.mek
    "$(dirname "$mekinfo")/mekdiff" cmake.mek pkg_config.mek
    "$mekinfo" --lint cmake.mek
    ! ./heat none/heat.mek 2>errors || fail "a file in a missing folder"
    grep -q 'none/heat.mek' errors || fail "no message: $(cat errors)"
    /usr/bin/python3 -c 'import numpy' 2>/dev/null || return 0
    PYTHONPATH=${READER:-$SOURCE_DIR/python} /usr/bin/python3 -B - <<'END'
import mekapi2
with mekapi2.open("cmake.mek") as file:
    temperature = file["/heat/plate"].variables["Temperature"]
    assert float(temperature.attributes("10")["Time"]) == 5
    first, last = temperature.array("0"), temperature.array("10")
    assert first.max() == 100 and 20 < last.max() < 60
    assert abs(first.mean() - last.mean()) < 1e-4  # no heat is lost
END
}

check_c() {
    local compile_c
    read -r -a compile_c <<<"${C:-cc} $CXXFLAGS -std=c99"
    compile_c+=("${warnings[@]}" -Wstrict-prototypes)
    check_solver c "${compile_c[@]}" "$SOURCE_DIR/examples/c/heat.c"
    check_c_header "${compile_c[@]}"
}

# As C and as C++, with all warnings; with the example in its comment. $@: compiler and flags
check_c_header() {
    local flags
    flags_of mekapi2-c
    example_of mekapi2.h >example.c
    "$@" example.c -o example "${flags[@]}" -Wl,-rpath,"$(folder_of libmekapi2_c.so)"
    ./example || fail "the example in mekapi2.h exits with $?"
    "${compile[@]}" "${warnings[@]}" -Wold-style-cast -I"$prefix/include" -fsyntax-only \
        -x c++ example.c
    compile_readme c "$@"
}

# $1: language; compiles and runs its program in README.md with the compiler and flags in $2...
compile_readme() {
    sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/{/^\`\`\`/d;p}" "$SOURCE_DIR/README.md" >"readme.${1/fortran/f90}"
    flags_of "mekapi2-$1"
    "${@:2}" "readme.${1/fortran/f90}" -o readme "${flags[@]}" \
        -Wl,-rpath,"$(folder_of libmekapi2_c.so)"
    rm -f bar.mek
    ./readme || fail "the program in $1 in README.md exits with $?"
    "$mekinfo" --check bar.mek >/dev/null || fail "bar.mek is invalid"
}

check_fortran() {
    local compile_fortran
    read -r -a compile_fortran <<<"gfortran $CXXFLAGS -std=f2008 -Wall -Wextra -pedantic -Werror"
    check_solver fortran "${compile_fortran[@]}" "$SOURCE_DIR/examples/fortran/heat.f90"
    compile_readme fortran "${compile_fortran[@]}"
    ! nm "$(find "$prefix" -name libmekapi2_fortran.a)" 2>&1 | grep ' [bd] ' ||
        fail "threads share these variables"
    # another compiler, or another version of it, compiles the sources of the module
    gfortran -J. -c "$prefix"/share/mekapi2/fortran/mekapi2{_c,}.f90
}

check_pkg_config() {
    local flags library_dir sources=$SOURCE_DIR/tests/install/application
    flags_of mekapi2 --static
    library_dir=$(pkg_config mekapi2 --variable=libdir)
    compile+=(-fvisibility=hidden "${warnings[@]}" -I"$SOURCE_DIR/tests")
    mkdir -p "$work/pkg_config"
    cd "$work/pkg_config"
    "${compile[@]}" "$SOURCE_DIR/examples/first_model.cpp" -o first_model "${flags[@]}"
    "${compile[@]}" "$sources/application.cpp" -o application "${flags[@]}"
    "${compile[@]}" -shared -fPIC "$sources/application.cpp" -o libmodule.so "${flags[@]}"
    LD_LIBRARY_PATH=$library_dir run_programs "$work/pkg_config"
}

# The example of the MPI library, and that of its header, build from the package and run.
check_mpi() {
    local flags mpi=(mpicxx -std=c++17 "${warnings[@]}")
    configure examples "$work/mpi"
    cmake --build "$work/mpi" --target heat
    flags_of mekapi2-mpi
    cd "$work/mpi"
    example_of tyr/mek2/mpi.hpp >ranks.cpp
    "${mpi[@]}" -DOMPI_SKIP_MPICXX -DMPICH_SKIP_MPICXX ranks.cpp -o ranks "${flags[@]}" \
        -Wl,-rpath,"$(folder_of libMekApi2.so)"
    "$MPIEXEC" -n 1 ./heat heat.mek
    "$MPIEXEC" -n 1 ./ranks
    for file in heat ranks; do
        "$mekinfo" --check $file.mek >/dev/null || fail "mekinfo --check $file.mek"
    done
}

# In /usr, pkg-config prints no folder that the compiler searches anyway.
check_system_prefix() {
    local flags folder=$work/system/usr/lib/pkgconfig
    DESTDIR=$work/system cmake --install "$BUILD_DIR" --prefix /usr >"$work/system.log"
    [ -e "$folder/mekapi2.pc" ] || folder=$(dirname "$(find "$work/system" -name mekapi2.pc)")
    flags=$(PKG_CONFIG_PATH=$folder pkg-config --cflags --libs mekapi2)
    [ "${flags// /}" = -lMekApi2 ] || fail "flags for /usr: $flags"
}

# Another project contains this one and asks for a static library, and later for its installation.
check_static() {
    local build=$work-static fortran=OFF output
    rm -rf "$build"
    configure tests/install/subproject "$build" -DMEKAPI2="$SOURCE_DIR" -DBUILD_SHARED_LIBS=OFF \
        -DMEKAPI2_DEFLATE="$DEFLATE" -DCMAKE_UNITY_BUILD=ON
    cmake --build "$build"
    cmake --install "$build" --prefix "$build/prefix"
    [ ! -e "$build/prefix" ] || fail "an installation was not asked for"

    output=$("$build/handling_failures" "$build/file.mek")
    grep -q ' from tyr/mek2/database.cpp, line ' <<<"$output" || fail "no location: $output"
    diff <("$BUILD_DIR/bin/handling_failures" "$build/file.mek") - <<<"$output" ||
        fail "the exceptions of the static and the shared library differ"

    [ ! -e "$BUILD_DIR/fortran/mekapi2.mod" ] || fortran=ON
    configure tests/install/subproject "$build" -DMEKAPI2_INSTALL=ON -DMEKAPI2_BUILD_C=ON \
        -DMEKAPI2_BUILD_FORTRAN=$fortran
    cmake --build "$build"
    cmake --install "$build" --prefix "$build/prefix"
    work=$build prefix=$build/prefix mekinfo=$BUILD_DIR/bin/mekinfo PKG_CONFIG="pkg-config --static"
    check_cmake
    check_pkg_config
    check_static_solver C "${C:-cc}" "$SOURCE_DIR/examples/c/heat.c"
    [ $fortran = OFF ] ||
        check_static_solver Fortran gfortran "$SOURCE_DIR/examples/fortran/heat.f90"
    ! ldd "$build"/*/{application,libmodule.so,solver,made} | grep -i MekApi2 ||
        fail "the library is shared"
}

# $1: language, the only one of the project; $2: its compiler; $3: source file
check_static_solver() {
    local folder=$work/$1 flags
    mkdir -p "$folder"
    printf '%s\n' "cmake_minimum_required(VERSION 3.25)" "project(Solver LANGUAGES $1)" \
        "find_package(MekApi2 REQUIRED COMPONENTS $1)" "add_executable(solver $3)" \
        "target_link_libraries(solver MekApi2::$1)" >"$folder/CMakeLists.txt"
    cmake -S "$folder" -B "$folder" -DCMAKE_PREFIX_PATH="$prefix"
    cmake --build "$folder"
    flags_of "mekapi2-${1,,}"
    cd "$folder"
    "$2" "$3" -o made "${flags[@]}"
    ./solver cmake.mek && ./made pkg_config.mek
    "$BUILD_DIR/bin/mekdiff" cmake.mek pkg_config.mek
}

# The program in the README is the one that was compiled.
check_readme() {
    diff <(sed -n '/^```cpp$/,/^```$/{/^```/d;p}' "$SOURCE_DIR/README.md") \
        "$SOURCE_DIR/examples/first_model.cpp" || fail "README.md and examples/first_model.cpp differ"
}

# Every public header can be included first, compiles without warnings and includes no Eigen. With
# an older language version the first error says what is needed.
check_headers() {
    local header used error
    while IFS= read -r header; do
        used=$("${compile[@]}" "${warnings[@]}" -I"$prefix/include" -MD -MF - -o /dev/null -c \
            -x c++ -include "$header" /dev/null) || fail "$header"
        ! grep -qi eigen <<<"$used" || fail "$header includes Eigen"
        error=$("${compile[@]}" -std=c++14 -I"$prefix/include" -fsyntax-only -x c++ \
            -include "$header" /dev/null 2>&1 | grep -m 1 'error:' || true)
        [[ $error == *': '*'MekApi2 needs C++17' || $header == tyr/version.hpp ]] ||
            fail "$header as C++14: $error"
    done < <(cd "$prefix/include" && find tyr -name '*.hpp' ! -name mpi.hpp)
}

# The example in each public header compiles and runs. `export.hpp` is not for applications.
check_documentation() {
    local header name library
    library=$(folder_of libMekApi2.so)
    mkdir -p "$work/documentation"
    cd "$work/documentation"
    while IFS= read -r header; do
        name=$(basename "$header" .hpp)
        example_of "$header" >"$name.cpp"
        [ -s "$name.cpp" ] || fail "$header has no example"
        "${compile[@]}" "${warnings[@]}" -I"$prefix/include" "$name.cpp" -o "$name" \
            "$library/libMekApi2.so" -Wl,-rpath,"$library" || fail "$header: its example does not compile"
        "./$name" || fail "$header: its example exits with $?"
    done < <(cd "$prefix/include" &&
        find tyr -name '*.hpp' ! -name export.hpp ! -name mpi.hpp)
}

# $1: statements; compiles them as the body of a function
compile_calls() {
    "${compile[@]}" "${warnings[@]}" -I"$prefix/include" -fsyntax-only -x c++ - 2>&1 <<<"
        #include <tyr/mek2/model.hpp>
        using namespace Tyr::Mek2;
        void call(Model& model, Array1d<float>& array, char* narrow, wchar_t* wide);
        void call(Model& model, Array1d<float>& array, char* narrow, wchar_t* wide) {
            (void)model, (void)array, (void)narrow, (void)wide;
            char text[] = \"text\"; (void)text;
            $1; }"
}

check_refused_calls() {
    local statements message output add=model.addArrayProperty type=DatasetType::NodeIds
    output=$(compile_calls "$add($type, array, 1U, Step{}); model.saveTo(narrow);
        model.saveTo(wide); model.saveTo(text); model.saveTo(std::wstring(wide));
        Attributes().set(narrow, narrow); NodeProperties().set(PropertyType::Scale, text);
        Array1d<float> from(nullptr, 0); from = Array1d<float>(0, 0); Array1d<float> none(0, 7U);
        none = Array1d<float>(array.data(), 0); const Array2d<float> table(0, 0, 0)") ||
        fail "valid calls do not compile: $output"
    while IFS='|' read -r message statements; do
        ! output=$(compile_calls "$statements") || fail "compiles: $statements"
        grep -q "$message" <<<"$output" || fail "$statements: $output"
    done <<END
Model::addArrayProperty takes an Array1d or|$add($type, std::vector<float>(3), 1U, Step{})
Model::addArrayProperty takes an Array1d or|$add($type, array, 1, Step{})
Model::addArrayProperty takes an Array1d or|$add("name", $type, array, 1U, std::string())
Array1d takes the element type float or|Array1d<double> values(3)
Array2d takes the element type float or|Array2d<int> values(3, 1)
Model::saveTo takes a path as std::string,|model.saveTo(u"path")
Model::saveTo takes a path as std::string,|model.saveTo(array)
Attributes::set takes float,|Attributes().set("key", 1.0)
NodeProperties::set takes int,|NodeProperties().set(PropertyType::Scale, 1.0)
deleted|model.getNodeId({"a", "b"}, "/")
ambiguous|model.addAssemblyComponents({{"/a", {}}, {"/b/", {}}})
END
}

# The classes that the library exports, and those of which it exports the type information only.
check_exports() {
    local library symbols
    library=$(find "$prefix" -name libMekApi2.so)
    [ "$(readelf -d "$library" | grep -c 'SONAME.*\[libMekApi2.so.2\]')" -eq 1 ] || fail "SONAME"
    symbols=$(nm -D --defined-only "$library" | awk '{print $3}' | c++filt -p)
    [ "$(grep -c '^Tyr::Mek2::Model::addArrayProperty<' <<<"$symbols")" -eq 48 ] ||
        fail "not 48 instances of addArrayProperty"
    diff "$SOURCE_DIR/tests/install/exports.txt" <(sed -E \
        -e 's/^(vtable|VTT|virtual thunk to|typeinfo) (for )?(Tyr::.*)/\3/' \
        -e 's/^typeinfo name for/typeinfo for/' \
        -e 's/^(Tyr::[A-Za-z0-9]+::[A-Za-z0-9]+(<[a-z ]+>)?)::.*/\1/' <<<"$symbols" |
        LC_ALL=C sort -u) || fail "other classes are exported"
}

# The library for C exports the functions in its header, with a version.
check_exports_of_c() {
    local library
    library=$(find "$prefix" -name libmekapi2_c.so)
    [ "$(readelf -d "$library" | grep -c 'SONAME.*\[libmekapi2_c.so.2\]')" -eq 1 ] || fail "SONAME"
    diff <(tr '\n' ' ' <"$prefix/include/mekapi2.h" | grep -oE ' MEK_API [^;(]*[ *]mek_[a-z0-9_]+\(' |
        sed -E 's/.*[ *](mek_[a-z0-9_]+)\($/\1@@MEKAPI2_C_2.0/' | LC_ALL=C sort) \
        <(nm -D --defined-only "$library" | awk '$2 == "T" {print $3}' | LC_ALL=C sort) ||
        fail "the exported functions differ from those in mekapi2.h"
    [ "$(nm -D --defined-only "$library" | grep -vc ' T mek_')" -eq 1 ] || fail "other exports"
}

check_paths() {
    local library texts
    library=$(find "$prefix" -name libMekApi2.so)
    texts=$(strings -a "$library")
    grep -q 'tyr/qbf/index.cpp$' <<<"$texts" || fail "$library has no source paths"
    texts+=$(find "$prefix" -name 'libmekapi2_c.*' -exec strings -a {} +)
    ! grep -F -e "$SOURCE_DIR" -e "$BUILD_DIR" <<<"$texts" || fail "$library has build paths"
    ! grep -rIF -e "$SOURCE_DIR" -e "$work" "$prefix" || fail "the package has build paths"
}

"check_$1"
