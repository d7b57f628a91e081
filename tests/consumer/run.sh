#!/usr/bin/env bash
# Installs a build, and builds and runs the project beside this file against it, once with find_package and
# once with pkg-config: run.sh BUILD_DIRECTORY COMPILER
set -euo pipefail

build=$1
export CXX=$2
tree=$(cd "$(dirname "$0")/../.." && pwd)
project=$tree/tests/consumer/project
temp=$(mktemp -d)
trap 'rm -rf "$temp"' EXIT

fail() { echo "$*"; exit 1; }
quietly() { "$@" >"$temp/log" 2>&1 || fail "This failed: $*" $'\n' "$(<"$temp/log")"; }

# consume LIBRARY_DIRECTORY PACKAGE_PREFIX: both roads to the library.
consume() {
    local out=$temp/consumer
    rm -rf "$out"
    quietly cmake -G Ninja -S "$project" -B "$out" -DCMAKE_PREFIX_PATH="$2"
    quietly cmake --build "$out"
    quietly "$out/consumer"
    [[ $(ldd "$out/consumer") == *"libZEL.so.1 => $1/"* ]] || fail "The consumer runs another libZEL."

    local flags
    flags=$(PKG_CONFIG_PATH=$1/pkgconfig pkg-config --cflags --libs zel)
    # Not quoted: the flags are words.
    quietly "$CXX" "$project/main.cpp" -o "$out/by-pkg-config" $flags
    LD_LIBRARY_PATH=$1 quietly "$out/by-pkg-config"
}

# The package may be moved after it was installed: it finds its own place.
cmake --install "$build" --prefix "$temp/installed" >/dev/null
prefix=$temp/moved
mv "$temp/installed" "$prefix"
libraries=$prefix/$(sed -n 's/^CMAKE_INSTALL_LIBDIR:PATH=//p' "$build/CMakeCache.txt")
consume "$libraries" "$prefix"

if grep -q '^ZEL_WIDE_COPIES:BOOL=ON' "$build/CMakeCache.txt"; then
    for level in x86-64-v3 x86-64-v4; do
        [[ -e $libraries/glibc-hwcaps/$level/libZEL.so.1 ]] || fail "The $level copy isn't installed."
    done
fi

mapfile -t headers < <(find "$prefix" -name '*.h')
[[ ${#headers[@]} == 1 && ${headers[0]} == */ZEL_Math.h ]] || fail "Not the one header: ${headers[*]}"
for compiler in g++ clang++; do
    command -v "$compiler" >/dev/null || continue
    for standard in 11 14 17 20; do
        quietly "$compiler" -std=c++$standard -Wall -Wextra -pedantic -Werror -fsyntax-only \
            -I "${headers[0]%/*}" "$project/main.cpp"
    done
done

# The library directory may be an absolute path, apart from the prefix.
quietly cmake -G Ninja -S "$tree" -B "$temp/build" -DZEL_TESTS=OFF -DZEL_EXAMPLES=OFF -DZEL_WIDE_COPIES=OFF \
    -DCMAKE_INSTALL_PREFIX="$temp/prefix" -DCMAKE_INSTALL_LIBDIR="$temp/apart/lib"
quietly cmake --build "$temp/build" -j2 --target install
consume "$temp/apart/lib" "$temp/apart"
