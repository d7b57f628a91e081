#!/usr/bin/env bash
# zel-trace: trace_test.sh ZEL_TRACE TRACED ZEL_TEST: the table of a program whose calls are known, what it tells of
# wrong calls and refuses, and that the results on its library are those of every other.
set -euo pipefail
trace=$1 traced=$2 tests=$3
temp=$(mktemp -d)
trap 'rm -rf "$temp"' EXIT
fail() { printf '%s\n' "$*"; exit 1; }
# Without what changes from run to run, or with a line of the program.
plain() { sed -E 's/process [0-9]+/process/; s/ \(traced.cpp:[0-9]+\)//; s/^ +//; s/  +/ | /g' "$@"; }
# refused WHY COMMAND...: one line on standard error, status 2
refused() {
    local status=0
    "$trace" "${@:2}" >"$temp/out" 2>"$temp/said" || status=$?
    [[ $status == 2 && ! -s $temp/out && $(wc -l <"$temp/said") == 1 && $(<"$temp/said") == *"$1"* ]] ||
        fail "${*:2}: status $status, $(<"$temp/said")"
}

status=0
"$trace" --output "$temp/table" "$traced" >"$temp/out" 2>"$temp/said" || status=$?
[[ $status == 7 && $(sort "$temp/out" | xargs) == "child parent" && ! -s $temp/said ]] ||
    fail "status $status, $(<"$temp/out")$(<"$temp/said")"
diff - <(plain "$temp/table") <<END || fail "Another table."
zel-trace: $traced, process
calls | elements | in lanes | phases differ | under 16 | member, and where it is called
1 | 4 | 100 % | - | 100 % | negate | main
zel-trace: $traced, process
calls | elements | in lanes | phases differ | under 16 | member, and where it is called
100 | 100000 | - | 100 % | - | dot | rows
100000 of them: a begins 1 element behind a 16-byte boundary, b on one
1 | 100 | - | 100 % | - | mulColVec44 | streams
100 of them: d begins 1 element behind a 16-byte boundary
1 | 60 | - | 100 % | - | set | members
60 of them: d begins 2 elements behind a 16-byte boundary, a on one, mask on one
1 | 40 | - | 100 % | - | madd | members
40 of them: d begins 1 element behind a 16-byte boundary, a on one, b 3 elements behind one
1 | 17 | - | 100 % | - | swap | members
17 of them: a begins on a 16-byte boundary, b 1 element behind one
160000 | 2560000 | 100 % | - | - | bxor | work
1 | 1003 | >99 % | - | - | dotSIMD | rows
1 | 100 | 100 % | - | - | mulRowVec44 | streams
1 | 64 | - | - | - | add | members
1 | 50 | - | - | - | sub | members
1 | 20 | 100 % | - | - | lerp | members
1 | 19 | 84 % | - | - | fdiv | members
1 | 18 | 89 % | - | - | div | members
1 | 15 | 80 % | - | 100 % | zelmin | members
1 | 10 | - | - | 100 % | mulColVec34 | streams
1 | 3 | - | - | 100 % | vadd4u4 | streams
1 | 0 | - | - | 100 % | lerp | members
END

"$trace" "$traced" faults 2>&1 >/dev/null | grep -E 'zel-trace: [^,]*:' | plain | sed 's/called from /in /' >"$temp/told" || :
diff - "$temp/told" <<END || fail "Other faults told."
zel-trace: mul: a is null, count 16, in faults
zel-trace: abs: the count is below 0, count -3, in faults
zel-trace: lerp: d overlaps a, count 20, in faults
END

refused 'unknown option' --sideways
refused 'no such program' "$temp/nothing"
refused "isn't a program" "$temp/table"
refused 'No such file' --output "$temp/none/table" true
if ((EUID == 0)); then
    cp "$traced" "$temp/setuid" && chown 1 "$temp/setuid" && chmod u+s "$temp/setuid"
    refused 'setuid' "$temp/setuid"
fi
[[ $("$trace" --help) == "zel-trace [--output FILE] PROGRAM"* ]] || fail "No help."
[[ $("$trace" bash -c 'kill -9 $$' 2>&1; echo $?) == 137 ]] || fail "The program's signal isn't its own."
[[ $("$trace" bash -c 'echo out' 2>&1) == "out"*"called no member of libZEL." ]] || fail "No word of a program without calls."

LD_LIBRARY_PATH=$(dirname "$trace")/../lib/zel-trace ZEL_TEST_LIBRARY=zel-trace ZEL_TRACE_OUTPUT=/dev/null "$tests" --gtest_brief=1
