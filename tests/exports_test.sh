#!/usr/bin/env bash
# A library exports the symbols of the list, no more and no fewer, and each member of them has a row in the tests:
#   exports_test.sh LIST LIBRARY [ZEL_TEST]     each line of the list is one symbol, demangled
set -euo pipefail
export LC_ALL=C

diff --unified=0 "$1" <(nm -D --defined-only --demangle "$2" | cut -d ' ' -f 3- | sort)
(($# == 3)) || exit 0
# The flag and the shell have the process tests.
diff --unified=0 <(grep -vE '::(operator=|theSIMD|isSIMD|forceSIMD)' "$1") \
    <("$3" --gtest_list_tests | awk '/^[^ ]/ { row = /^Rows\./ } row && /^ / { sub(/^ */, ""); print }' | sort)
