#!/usr/bin/env bash
# The symbols that a library exports are those of the list, no more and no fewer: exports_test.sh LIBRARY LIST
# Each line of the list is one symbol, demangled. Without a list, prints what the library exports.
set -euo pipefail

exported() { nm -D --defined-only --demangle "$1" | cut -d ' ' -f 3- | LC_ALL=C sort; }

if (($# == 1)); then
    exported "$1"
elif ! diff --unified=0 --label "$2" --label "$1" "$2" <(exported "$1"); then
    echo "The library and its list differ. If the library is right: tests/exports_test.sh $1 > $2"
    exit 1
fi
