#!/usr/bin/env bash
# What is installed serves an outside project, once with find_package and once with pkg-config:
#   installed_test.sh BUILD_DIRECTORY COMPILER moved|wide|packages...
set -euo pipefail

build=$1
export CXX=$2
tree=$(cd "$(dirname "$0")/.." && pwd)
temp=$(mktemp -d)
trap 'rm -rf "$temp"' EXIT

fail() { echo "$*"; exit 1; }
quietly() { "$@" >"$temp/log" 2>&1 || fail "This failed: $*" $'\n' "$(<"$temp/log")"; }

# make SOURCE DIRECTORY CMAKE_OPTION...
make() { quietly cmake -G Ninja -S "$1" -B "$2" "${@:3}"; quietly cmake --build "$2" -j2; }

# consume PREFIX LIBRARY_DIRECTORY: both roads to the library.
consume() {
    local first=$temp/first
    rm -rf "$first"
    make "$tree/examples/first" "$first" -DCMAKE_PREFIX_PATH="$1"
    [[ $("$first/first") == 750 ]] || fail "By find_package the program computes something else."
    [[ $(ldd "$first/first") == *"libZEL.so.1 => $2/"* ]] || fail "The program runs another libZEL."
    # shellcheck disable=SC2046  # the flags are words
    quietly "$CXX" "$tree/examples/first/first.cpp" -o "$first/first" \
        $(PKG_CONFIG_PATH=$2/pkgconfig pkg-config --cflags --libs zel)
    [[ $(LD_LIBRARY_PATH=$2 "$first/first") == 750 ]] || fail "By pkg-config the program computes something else."
}

# An installed tree finds its own place. It has the one header, which stands alone under every standard.
moved() {
    quietly cmake --install "$build" --prefix "$temp/installed"
    mv "$temp/installed" "$temp/moved"
    consume "$temp/moved" "$temp/moved/$(sed -n 's/^CMAKE_INSTALL_LIBDIR:PATH=//p' "$build/CMakeCache.txt")"
    local headers compiler
    mapfile -t headers < <(find "$temp/moved" -name '*.h')
    [[ ${#headers[@]} == 1 && ${headers[0]} == */ZEL_Math.h ]] || fail "Not the one header: ${headers[*]}"
    for compiler in {g++,clang++}' -std=c++'{11,14,17,20}; do
        command -v ${compiler% *} >/dev/null || continue
        quietly $compiler -Wall -Wextra -pedantic -Werror -fsyntax-only -x c++ "${headers[0]}"
    done
}
# The loader takes the copy for a level where the machine has it, and each copy gives the bits of the plain library.
wide() {
    local libraries loader library level output plain=
    quietly cmake --install "$build" --prefix "$temp/wide"
    libraries=$(dirname "$(find "$temp/wide" -name glibc-hwcaps)")
    loader=$(readelf -l "$build/bin/zel-test" | sed -n 's/.*interpreter: \(.*\)]/\1/p')
    for library in "$libraries"/{,glibc-hwcaps/*/}libZEL.so.1; do
        level=$(basename "$(dirname "$library")")  # of the plain library no level, so that no copy is taken
        [[ $library != */glibc-hwcaps/* ]] || "$loader" --help | grep -q "$level (supported" || continue
        output=$("$loader" --library-path "$libraries" --glibc-hwcaps-mask "$level" "$build/bin/zel-test" --gtest_brief=1) ||
            fail "$level: $output"
        [[ $output == *"library $library"$'\n'* ]] || fail "$level isn't what is loaded: $output"
        [[ ${output##*digest } == "${plain:=${output##*digest }}" ]] || fail "$level: not $plain but $output"
    done
}
# The Debian packages, each unpacked by itself, and both together.
packages() {
    # Install directories are settled at configure time. This build stays, so only its first run takes long.
    make "$tree" "$build/package" -DZEL_TESTS=OFF -DZEL_EXAMPLES=OFF -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr
    quietly cpack --config "$build/package/CPackConfig.cmake" -B "$temp"
    cd "$temp"
    local libraries file
    libraries=usr/lib/$(dpkg-architecture -q DEB_HOST_MULTIARCH)
    for file in libzel1 libzel-dev; do
        dpkg-deb -x ${file}_*.deb $file
        dpkg-deb -x ${file}_*.deb both
    done
    ls libzel1/$libraries/{libZEL.so.1,libKEP.so.1,glibc-hwcaps/x86-64-v{3,4}/libZEL.so.1} >/dev/null || fail "libzel1 lacks a library."
    [[ -z $(find libzel1 -name '*.h' -o -name libZEL.so -o -name '*.pc') ]] || fail "libzel1 has a part of libzel-dev."
    [[ $(dpkg-deb -I libzel1_*.deb triggers) == "activate-noawait ldconfig" ]] || fail "ldconfig isn't triggered."
    [[ $(dpkg-deb -f libzel-dev_*.deb Depends) =~ ^libzel1\ \(=\  ]] || fail "libzel-dev takes any libzel1."
    consume "$temp/both/usr" "$temp/both/$libraries"
}

for kind in "${@:3}"; do $kind; done
