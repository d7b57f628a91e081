#!/usr/bin/env bash
# Makes the Debian packages, unpacks them into a directory of its own, and builds and runs a consumer from there:
#   packages_test.sh BUILD_DIRECTORY COMPILER
set -euo pipefail
build=$1/package
export CXX=$2
tree=$(cd "$(dirname "$0")/.." && pwd)
project=$tree/tests/consumer/project
temp=$(mktemp -d)
trap 'rm -rf "$temp"' EXIT

fail() { echo "$*"; exit 1; }
quietly() { "$@" >"$temp/log" 2>&1 || fail "This failed: $*" $'\n' "$(<"$temp/log")"; }

# A build for /usr: install directories are settled at configure time. It stays, so only its first run takes long.
quietly cmake -G Ninja -S "$tree" -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DZEL_TESTS=OFF -DZEL_EXAMPLES=OFF
quietly cmake --build "$build"
quietly cpack --config "$build/CPackConfig.cmake" -B "$temp"

for package in libzel1 libzel-dev; do
    for root in "$package" root; do dpkg-deb -x "$temp/$package"_*.deb "$temp/$root"; done
done
arch=$(ls "$temp/root/usr/lib")
libraries=usr/lib/$arch
[[ $arch == *-linux-gnu ]] || fail "Not a multi-arch directory: usr/lib/$arch"
for file in libZEL.so.1 libKEP.so.1 glibc-hwcaps/x86-64-v3/libZEL.so.1 glibc-hwcaps/x86-64-v4/libZEL.so.1; do
    [[ -e $temp/libzel1/$libraries/$file ]] || fail "libzel1 is without $file."
done
for file in usr/include/ZEL_Math.h "$libraries"/{libZEL.so,pkgconfig/zel.pc,cmake/ZEL/ZELConfig.cmake}; do
    [[ -L $temp/libzel-dev/$file || -e $temp/libzel-dev/$file ]] || fail "libzel-dev is without $file."
    [[ ! -e $temp/libzel1/$file ]] || fail "libzel1 has $file, which is for libzel-dev."
done
[[ $(dpkg-deb -I "$temp"/libzel1_*.deb triggers) == "activate-noawait ldconfig" ]] || fail "ldconfig isn't triggered."
[[ $(dpkg-deb -f "$temp"/libzel-dev_*.deb Depends) =~ ^libzel1\ \(=\  ]] || fail "libzel-dev takes any libzel1."

quietly cmake -G Ninja -S "$project" -B "$temp/consumer" -DCMAKE_PREFIX_PATH="$temp/root/usr"
quietly cmake --build "$temp/consumer"
quietly "$temp/consumer/consumer"
[[ $(ldd "$temp/consumer/consumer") == *"libZEL.so.1 => $temp/root/"* ]] || fail "The consumer runs another libZEL."
flags=$(PKG_CONFIG_PATH=$temp/root/$libraries/pkgconfig pkg-config --cflags --libs zel)
# Not quoted: the flags are words. The prefix is found from where the file lies.
quietly "$CXX" "$project/main.cpp" -o "$temp/by-pkg-config" $flags
LD_LIBRARY_PATH=$temp/root/$libraries quietly "$temp/by-pkg-config"
