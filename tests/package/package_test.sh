#!/usr/bin/env bash
# Checks the Debian packages with lintian, unpacks them into an empty folder, and uses them there as an
# application does.
# Usage: package_test.sh FOLDER_OF_PACKAGES
set -euo pipefail
packages=$(realpath "$1")
source=$(realpath "$(dirname "$0")/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root
runtime=libmekapi2-2
names=("$runtime" libmekapi2-dev libmekapi2-mpi-dev libmekapi2-reader-dev libmekapi2-c2 libmekapi2-c-dev
    libmekapi2-fortran-dev mekapi2-doc mekapi2-tools paraview-mekapi2 python3-mekapi2)

fail() { echo "FAILED: $*" >&2; exit 1; }

# $1: name, $2: field
field_of() { dpkg-deb -f "$packages/$1"_*.deb "$2"; }

# $1: name; its files, without folders
files_of() { dpkg-deb -c "$packages/$1"_*.deb | awk '$1 !~ /^d/ {print $6}'; }

check_policy() {
    lintian --allow-root --fail-on error,warning "$packages"/*.changes || fail "lintian"
}

check_contents() {
    local name version documents
    version=$(field_of $runtime Version)
    for name in libmekapi2-c-dev:libmekapi2-c2 libmekapi2-fortran-dev:libmekapi2-c-dev; do
        grep -qF "${name#*:} (= $version)" <<<"$(field_of "${name%:*}" Depends)" ||
            fail "${name%:*} does not depend on ${name#*:} of its version"
    done
    grep -qF "$runtime (>= " <<<"$(field_of libmekapi2-c2 Depends)" ||
        fail "libmekapi2-c2 does not depend on $runtime"
    for name in libmekapi2-dev mekapi2-tools python3-mekapi2; do
        grep -qF "$runtime (= $version)" <<<"$(field_of $name Depends)" ||
            fail "$name does not depend on $runtime of its version"
    done
    for name in $runtime libmekapi2-{dev,mpi-dev,reader-dev,c2,c-dev,fortran-dev}; do
        [ "$(field_of "$name" Multi-Arch)" = same ] || fail "$name cannot be installed twice"
        ! files_of "$name" | grep '^./usr/lib/[^/]*$' || fail "$name has files of two architectures"
    done
    [ "$(files_of $runtime | grep -v '/doc/' | grep -vc '/libMekApi2\.so\.2')" -eq 0 ] ||
        fail "$runtime contains more than the library"
    for name in "${names[@]}"; do
        cmp "$source/LICENSE" "$root/usr/share/doc/$name/copyright" || fail "$name has no licence"
    done
    documents=$root/usr/share/doc/mekapi2
    diff -r --exclude=__pycache__ "$source/examples" "$documents/examples" || fail "examples differ"
    for name in "$source"/{docs/*.md,CHANGELOG.md,LICENSE,README.md}; do
        cmp "$name" "$documents/${name#"$source/"}" || fail "$name is not installed"
    done
    [ -z "$(for name in "${names[@]}"; do files_of "$name"; done | sort | uniq -d)" ] ||
        fail "two packages contain the same file"
}

# $1: a file that mekinfo of the packages must accept
check_file() { "$root/usr/bin/mekinfo" --check "$1" >/dev/null || fail "$1 is invalid"; }

check_cmake() {
    local program
    cmake -S "$root/usr/share/doc/mekapi2/examples" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$root/usr"
    cmake --build "$work/cmake"
    for program in first_model steps_and_links assembly_paths handling_failures checkpoints; do
        grep -qF "$root" <(ldd "$work/cmake/$program") || fail "$program uses another library"
        "$work/cmake/$program" "$work/$program.mek"
        check_file "$work/$program.mek"
    done
    "$work/cmake/maximum_of_results" "$work/first_model.mek" >/dev/null
    OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1 mpiexec -n 1 "$work/cmake/heat" \
        "$work/heat.mek"
    check_file "$work/heat.mek"
}

# $1: check of the tests of the installed library
check_installation() {
    SOURCE_DIR=$source BUILD_DIR=$work CXX=c++ CXXFLAGS='' PREFIX=$root/usr \
        READER=$root/usr/lib/python3/dist-packages \
        PKG_CONFIG="pkg-config --define-variable=prefix=$root/usr" \
        "$source/tests/install/install_test.sh" "$1"
}

check_tools() {
    "$root/usr/bin/frd2mek" "$source/fuzz/corpus/frd/short" "$work/short.mek"
    check_file "$work/short.mek"
    "$root/usr/bin/mekinfo" --vtu "$work/vtu" "$work/short.mek"
    [ -s "$work/vtu/short.pvd" ] || fail "mekinfo writes nothing"
    [ -s "$root/usr/share/bash-completion/completions/mekinfo" ] || fail "no completion"
}

check_python() {
    export PYTHONPATH=$root/usr/lib/python3/dist-packages
    /usr/bin/python3 -B "$source/examples/python/first_model.py" "$work/python.mek"
    check_file "$work/python.mek"
    /usr/bin/python3 -B "$root/usr/bin/mekapi2-convert" --help >/dev/null
    [ -s "$root/usr/share/man/man1/mekapi2-convert.1.gz" ] || fail "no man page of mekapi2-convert"
    [ -s "$PYTHONPATH/MekReader.py" ] || fail "no plug-in"
    [ -s "$root/usr/share/paraview-mekapi2/MekReader.xml" ] || fail "no declaration of the plug-in"
    [ "$(find "$PYTHONPATH" -name py.typed -o -name _core.pyi | wc -l)" -eq 2 ] ||
        fail "no annotations"
}

# Builds both wheels without a network, and uses them without the packages.
check_pip() {
    local pip=(/usr/bin/python3 -m pip --disable-pip-version-check -q)
    local options=(--no-index --no-build-isolation --no-deps)
    local use=(env -u LD_LIBRARY_PATH "PYTHONPATH=$work/whole" /usr/bin/python3 -B)
    mkdir "$work/source"
    tar -C "$source" --exclude=./build --exclude=./.git -cf - . | tar -xf - -C "$work/source"
    "${pip[@]}" wheel "${options[@]}" -w "$work" "$work/source/python/reader-only"
    "${pip[@]}" install "${options[@]}" --target "$work/reader" "$work"/mekapi2_reader-*-none-any.whl
    "${pip[@]}" install "${options[@]}" --target "$work/whole" "$work/source"
    "${use[@]}" "$source/examples/python/first_model.py" "$work/pip.mek"
    check_file "$work/pip.mek"
    "${use[@]}" "$work/whole/bin/mekapi2-convert" --version | grep -qF "mekapi2-convert " ||
        fail "pip installs no mekapi2-convert"
    PYTHONPATH=$work/reader /usr/bin/python3 -B -c '
import sys, mekapi2
with mekapi2.open(sys.argv[1]) as file:
    assert len(file.read_all()) > 2' "$work/pip.mek" || fail "the reader alone cannot read"
}

for package in "$packages"/*.deb; do
    dpkg-deb -x "$package" "$root"
done
# installed, the programs find the library in a folder of the system
LD_LIBRARY_PATH=$(dirname "$(find "$root" -name 'libMekApi2.so.2')")
export LD_LIBRARY_PATH
check_policy
check_contents
check_cmake
check_installation pkg_config
check_installation c
check_installation fortran
check_tools
check_python
check_pip
