#!/usr/bin/env bash
# A library exports the symbols of the list, no more and no fewer, and each member of them has a row in the tests:
#   exports_test.sh LIST LIBRARY [ZEL_TEST]     each line of the list: how far the bits travel, then a symbol, demangled
set -euo pipefail
export LC_ALL=C

diff --unified=0 <(cut -c 12- "$1") <(nm -D --defined-only --demangle "$2" | cut -d ' ' -f 3- | sort)
(($# == 3)) || exit 0
# Those without bits, the flag and the shell, have the process tests.
diff --unified=0 <(sed -n '/^[^-]/s/^[a-z]* *//p' "$1") \
    <("$3" --gtest_filter='Rows.*' --gtest_list_tests | sed -n 's/^ *\(ZEL_Math::\)/\1/p' | sort)
