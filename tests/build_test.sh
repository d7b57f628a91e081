#!/usr/bin/env bash
# The library built by others: build_test.sh guest|bare COMPILER [ZEL_TEST RELOAD]
set -euo pipefail
export CXX=$2
tree=$(cd "$(dirname "$0")/.." && pwd)
temp=$(mktemp -d)
trap 'rm -rf "$temp"' EXIT
fail() { printf '%s\n' "$*"; exit 1; }
quietly() { "$@" >"$temp/log" 2>&1 || fail "This failed: $*" "$(<"$temp/log")"; }

# Inside a parent project with every flag against it: the same bits, and a load leaves the process as it was.
guest() {
    export CXXFLAGS='-ffast-math -funsafe-math-optimizations -fno-signed-zeros -ffp-contract=fast -Wundef'
    CXXFLAGS+=" -march=$("$tree/scripts/levels" | tail -n 1)"
    quietly cmake -S "$tree/tests/guest" -B "$temp/build" -DZEL_WIDE_COPIES=OFF -DCMAKE_INSTALL_PREFIX="$temp/prefix"
    quietly cmake --build "$temp/build" -j2
    [[ $("$temp/build/program") == 750 ]] || fail "The parent's program doesn't run."
    local output
    output=$(LD_LIBRARY_PATH=$temp/build/zel/lib "$1" --gtest_brief=1) || fail "$output"
    [[ $output == *"library $temp/build/zel/lib/"*"digest $(<"$tree/tests/digest.txt"),"* ]] || fail "Other bits: $output"
    "$2" "$temp/build/zel/lib/libZEL.so.1" || [[ $? == 1 ]] || fail "Loading it changes MXCSR."
    quietly cmake --install "$temp/build"
    [[ $(find "$temp/prefix" -type f) == "$temp/prefix/bin/program" ]] || fail "The parent installs the library."
}

# README's lines on installing, with nothing but g++, make and CMake, and no variable set.
bare() {
    local tool
    mkdir "$temp/tools" "$temp/tree"
    for tool in bash sh g++ c++ make cmake as ld ar uname; do ln -s "$(command -v $tool)" "$temp/tools"; done
    (cd "$tree" && tar -c --exclude=./build --exclude=./out --exclude=./.git .) | tar -x -C "$temp/tree"
    sed -n '/^```sh/,/^```/{//!p}' "$tree/README.md" >"$temp/lines"
    (cd "$temp/tree" && quietly env -i HOME="$temp" PATH="$temp/tools" CMAKE_BUILD_PARALLEL_LEVEL=2 bash -ex "$temp/lines")
    [[ $(tail -n 1 "$temp/log") == 750 ]] || fail "Not 750: $(<"$temp/log")"
    [[ $(find "$temp/zel" -name libZEL.so.1 | wc -l) == 3 ]] || fail "Not three copies: $(find "$temp/zel")"
}

$1 "${@:3}"
