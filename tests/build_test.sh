#!/usr/bin/env bash
# The library built, installed and packaged for others: build_test.sh BUILD_DIRECTORY COMPILER TEST [ARGUMENT]
#   settings, guest, bare, wide     of this tree and its build
#   packages                        of the Debian packages in the build directory
#   consumer [PREFIX [LD_LIBRARY_PATH]], copies [LIBRARIES]    of what is installed; default /usr
set -euo pipefail
build=$1
export CXX=$2
tree=$(cd "$(dirname "$0")/.." && pwd)
temp=$(mktemp -d)
trap 'rm -rf "$temp"' EXIT
fail() { printf '%s\n' "$*"; exit 1; }
quietly() { "$@" >"$temp/log" 2>&1 || fail "This failed: $*" "$(<"$temp/log")"; }
# project SOURCE DIRECTORY CMAKE_OPTION...
project() { quietly cmake -S "$1" -B "$2" "${@:3}"; quietly cmake --build "$2" -j2; }

# What a builder asks for in so many words is kept. Nothing is built.
settings() {
    levels() {
        quietly env CXXFLAGS="$1" cmake -S "$tree" -B "$temp/settings" --fresh -DCMAKE_INSTALL_PREFIX="$temp/prefix" "${@:2}"
        grep -o ' -O[^ ]*' "$temp/settings/compile_commands.json" | sort -u | xargs
    }
    [[ $(levels '') == -O3 && $(levels '' -DCMAKE_BUILD_TYPE=None) == -O3 ]] || fail "The default isn't -O3."
    [[ $(levels -O2) == -O2 && $(levels -O2 -DCMAKE_BUILD_TYPE=None) == -O2 ]] || fail "CXXFLAGS=-O2 isn't kept."
    [[ $(levels '' -DCMAKE_CXX_FLAGS_RELEASE=-O1) == -O1 ]] || fail "CMAKE_CXX_FLAGS_RELEASE isn't kept."
    echo "find_package(ZEL 0.9 CONFIG REQUIRED PATHS $temp/settings NO_DEFAULT_PATH)" >"$temp/ask.cmake"
    [[ $(cmake -P "$temp/ask.cmake" 2>&1) == *"not accepted"*"version: 1"* ]] || fail "Another major version is accepted."
    levels '' -DZEL_INSTALL=OFF -DBUILD_SHARED_LIBS=OFF >/dev/null
    [[ $(grep -c 'is a shared library' "$temp/log") == 1 ]] || fail "No word on BUILD_SHARED_LIBS=OFF: $(<"$temp/log")"
    quietly cmake --install "$temp/settings"
    [[ ! -e $temp/prefix ]] || fail "Installed with ZEL_INSTALL=OFF: $(find "$temp/prefix")"
}

# Inside a parent project with every flag against it: the same bits, and a load leaves the process as it was.
guest() {
    export CXXFLAGS='-ffast-math -funsafe-math-optimizations -fno-signed-zeros -ffp-contract=fast -Wundef'
    CXXFLAGS+=" -march=$("$tree/scripts/levels" | tail -n 1)"
    project "$tree/tests/guest" "$temp/build" -DCMAKE_INSTALL_PREFIX="$temp/prefix"
    [[ -z $(find "$temp/build/zel/lib/wide" -name "libZEL*") ]] || fail "The parent builds copies that nothing loads."
    [[ $("$temp/build/program") == 750 ]] || fail "The parent's program doesn't run."
    local output
    output=$(LD_LIBRARY_PATH=$temp/build/zel/lib ZEL_TEST_LIBRARY=$temp "$build/bin/zel-test" --gtest_brief=1) ||
        fail "$output"
    "$build/bin/process-reload" "$temp/build/zel/lib/libZEL.so.1" || [[ $? == 1 ]] || fail "Loading it changes MXCSR."
    quietly cmake --install "$temp/build"
    [[ $(find "$temp/prefix" -type f) == "$temp/prefix/bin/program" ]] || fail "The parent installs the library."
}

# README's lines on installing, with nothing but g++, make and CMake, and no variable set. One copy is enough: the
# test of copies installs them all.
bare() {
    local tool
    mkdir "$temp/tools"
    for tool in bash sh g++ c++ make cmake as ld ar uname; do ln -s "$(command -v $tool)" "$temp/tools"; done
    "$tree/scripts/proof/sources" "$temp/tree"
    awk '/^```sh/ { on = 1; next } on && /^```/ { exit } on' "$tree/README.md" |
        sed 's/^cmake -B build$/& -DZEL_WIDE_COPIES=OFF -DZEL_TRACE=OFF/' >"$temp/lines"
    (cd "$temp/tree" && quietly env -i HOME="$temp" PATH="$temp/tools" CMAKE_BUILD_PARALLEL_LEVEL=2 bash -ex "$temp/lines")
    [[ $(tail -n 1 "$temp/log") == 750 ]] || fail "Not 750: $(<"$temp/log")"
    [[ $(find "$temp/zel" -name libZEL.so.1 | wc -l) == 1 ]] || fail "Not one copy: $(find "$temp/zel")"
}

# The loader takes the copy for a level where the machine has it, and each copy gives the bits of the plain library.
wide() {
    quietly cmake --install "$build" --prefix "$temp/wide"
    copies "$(dirname "$(find "$temp/wide" -name glibc-hwcaps)")"
}
copies() {
    local libraries=${1-} loader library level output plain=
    : "${libraries:=$(realpath "$(pkg-config --variable=libdir zel)")}"
    loader=$("$tree/scripts/levels" --loader)
    for library in "$libraries"/{,glibc-hwcaps/*/}libZEL.so.?.*; do
        library=${library%.so.*}.so.1  # the name that programs ask the loader for
        level=$(basename "$(dirname "$library")")  # of the plain library no level, so that no copy is taken
        [[ $library != */glibc-hwcaps/* ]] || "$tree/scripts/levels" | grep -qx "$level" || continue
        output=$("$loader" --library-path "$libraries" --glibc-hwcaps-mask "$level" "$build/bin/zel-test" --gtest_brief=1) ||
            fail "$level: $output"
        [[ $output == *"library $library"$'\n'* ]] || fail "$level isn't what is loaded: $output"
        [[ ${output##*digest } == "${plain:=${output##*digest }}" ]] || fail "$level: not $plain but $output"
    done
    [[ $plain ]] || fail "There is no libZEL in $libraries."
}

# What is installed serves a program outside by both roads, and its header stands alone under every standard.
consumer() {
    local prefix=${1:-/usr} path=${2-} program=$temp/first/first standard
    # The path is for the loader alone: it would hide from the linker that a library isn't found. The loader may name
    # the library by a link: /lib is one to /usr/lib.
    loaded() { LD_LIBRARY_PATH=$path ldd "$program" | awk '/libZEL/ { print $3 }'; }
    runs() { [[ $(LD_LIBRARY_PATH=$path $program) == 750 && $(realpath "$(loaded)") == "$prefix"/* ]]; }
    project "$tree/examples/first" "$temp/first" -DCMAKE_PREFIX_PATH="$prefix"
    runs || fail "By find_package it doesn't run."
    # shellcheck disable=SC2046  # the flags are words
    quietly "$CXX" "$tree/examples/first/first.cpp" -o "$program" $(pkg-config --cflags --libs zel)
    runs || fail "By pkg-config it doesn't run."
    if command -v meson >/dev/null; then
        cp "$tree/examples/first/first.cpp" "$temp/first"
        awk '/^```meson/ { on = 1; next } /^```/ { on = 0 } on' "$tree/docs/building.md" >"$temp/first/meson.build"
        quietly meson setup "$temp/first/meson" "$temp/first"
        quietly meson compile -C "$temp/first/meson"
        program=$temp/first/meson/first
        runs || fail "By Meson it doesn't run."
    fi
    for standard in 11 14 17 20 2b; do
        quietly "$CXX" -std=c++$standard -Wall -Wextra -pedantic -Werror -fsyntax-only -x c++ "$prefix/include/ZEL_Math.h"
    done
}

# The Debian packages, unpacked where they weren't made for: no file in the wrong one, and a program outside runs.
packages() {
    local package libraries
    for package in libzel1 libzel-dev; do
        dpkg-deb --raw-extract "$build/$package"_*.deb "$temp/$package"
        dpkg-deb -x "$build/$package"_*.deb "$temp/both"
    done
    libraries=usr/lib/$(dpkg-architecture -q DEB_HOST_MULTIARCH)
    (cd "$temp/libzel1/$libraries" && ls {libZEL.so.1,libKEP.so.1,glibc-hwcaps/x86-64-v{3,4}/libZEL.so.1}) >/dev/null ||
        fail "libzel1 lacks a library."
    [[ -z $(find "$temp/libzel1" -name '*.h' -o -name libZEL.so -o -name '*.pc') ]] || fail "libzel1 has a part of libzel-dev."
    [[ $(ls "$temp/libzel1/DEBIAN") == $'control\nmd5sums\nshlibs\nsymbols\ntriggers' ]] ||
        fail "Not what controls it: $(ls "$temp/libzel1/DEBIAN")"
    [[ $(dpkg-deb -f "$build"/libzel-dev_*.deb Depends) =~ ^libzel1\ \(=\  ]] || fail "libzel-dev takes any libzel1."
    [[ -z $(find "$temp/both" -name '*.so.*' -type f -exec readelf -dW {} + | grep -E 'R(UN)?PATH') ]] || fail "A library has a run path."
    # The system's directory needs neither.
    export PKG_CONFIG_PATH=$temp/both/$libraries/pkgconfig
    consumer "$temp/both/usr" "$temp/both/$libraries"
    export LD_LIBRARY_PATH=$temp/both/$libraries
    [[ $("$temp/both/usr/bin/zel-trace" "$temp/first/first" 2>&1) == *"in lanes"* ]] || fail "zel-trace doesn't work."
}

[[ $(type -t "${3-}") == function ]] || fail "There is no test '${3-}'."
"${@:3}"
