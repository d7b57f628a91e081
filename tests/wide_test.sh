#!/usr/bin/env bash
# Runs the tests of the members on an installed library, once for each copy that this machine can run: the loader must
# take the copy asked for, and the results' digests must be those of the plain library, the estimates' included.
#   wide_test.sh BUILD_DIRECTORY ZEL_TEST LEVEL...
set -euo pipefail
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$1" --prefix "$prefix" >/dev/null
libraries=$(dirname "$(find "$prefix" -path '*glibc-hwcaps*' -prune -o -name 'libZEL.so.1' -print)")
loader=$(readelf -l "$2" | sed -n 's/.*interpreter: \(.*\)]/\1/p')

plain=
for level in none "${@:3}"; do
    wanted=$libraries/libZEL.so.1
    if [[ $level != none ]]; then
        wanted=$libraries/glibc-hwcaps/$level/libZEL.so.1
        "$loader" --help | grep -q "$level (supported" || { echo "$level: this machine can't run it"; continue; }
    fi
    output=$("$loader" --library-path "$libraries" --glibc-hwcaps-mask "$level" "$2" --gtest_brief=1) ||
        { echo "$output"; echo "$level: the members' tests fail"; exit 1; }
    digest=$(grep '^digest' <<<"$output")
    plain=${plain:-$digest}
    echo "$level: $digest"
    grep -qFx "library $wanted" <<<"$output" || { echo "not loaded from $wanted: $output"; exit 1; }
    [[ $digest == "$plain" ]] || { echo "the plain library's is $plain"; exit 1; }
done
