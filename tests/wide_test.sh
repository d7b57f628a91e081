#!/usr/bin/env bash
# Runs the tests of the members on an installed library, once for each copy that this machine can run: the loader must
# take the copy asked for, and the results' digests must be those of the plain library, the estimates' included.
#   wide_test.sh BUILD_DIRECTORY ZEL_TEST LEVEL...
set -euo pipefail
build=$1 program=$2
shift 2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
libraries=$(dirname "$(find "$prefix" -path '*glibc-hwcaps*' -prune -o -name 'libZEL.so.1' -print)")
loader=$(readelf -l "$program" | sed -n 's/.*interpreter: \(.*\)]/\1/p')

plain=
run=0
for level in none "$@"; do
    if [[ $level != none ]] && ! "$loader" --help | grep -q "$level (supported"; then
        echo "$level: this machine can't run it"
        continue
    fi
    output=$("$loader" --library-path "$libraries" --glibc-hwcaps-mask "$level" "$program" --gtest_brief=1) ||
        { echo "$output"; echo "$level: the members' tests fail"; exit 1; }
    wanted=$libraries/libZEL.so.1
    [[ $level == none ]] || wanted=$libraries/glibc-hwcaps/$level/libZEL.so.1
    grep -qFx "library $wanted" <<<"$output" || { echo "$level: not loaded from $wanted: $(grep ^library <<<"$output")"; exit 1; }
    digest=$(grep '^digest' <<<"$output")
    plain=${plain:-$digest}
    [[ $digest == "$plain" ]] || { echo "$level: $digest, but the plain library's is $plain"; exit 1; }
    echo "$level: $digest"
    run=$((run + 1))
done
echo "$run libraries, the same results"
