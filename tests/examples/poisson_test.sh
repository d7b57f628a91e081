#!/usr/bin/env bash
# Runs the rectangle filler as its user would: poisson_test.sh POISSON DATA_DIRECTORY
set -uo pipefail

poisson=$1 data=$2 failures=0
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch" && cp "$data/city.exr" in.exr || exit 1

fault() { echo "$1"; failures=$((failures + 1)); }

# refused REASON ARGUMENT...: one line with the reason, nothing on standard output, a failing exit, no file left.
refused() {
    "$poisson" in.exr out.png "${@:2}" >said 2>complaint && fault "accepted: ${*:2}"
    [[ $(wc -l <complaint) == 1 && $(<complaint) == *"$1"* && ! -s said ]] || fault "${*:2}: $(<complaint)"
    compgen -G 'out.png*' >/dev/null && { fault "left a file: ${*:2}"; rm -f out.png*; }
}

# fills FILE ARGUMENT...: a picture from a solver that says it went to the end.
fills() {
    "$poisson" in.exr "$@" >said 2>complaint || fault "failed: $*: $(<complaint)"
    [[ $(head -c4 "$1" | od -An -c | tr -d ' ') == '211PNG' && $(<said) == *'all kernels'* ]] || fault "no picture: $*"
}

refused 'takes an input'
for text in 1,2 1,2,3x 1,2,3x4x5 a,b,3x4 ''; do refused 'is written' --rectangle "$text"; done
for size in 0x9 9x0 -3x9; do refused 'is empty' --rectangle 5,5,$size; done
for place in -1,5,9x9 5,-1,9x9 1020,5,9x9 5,510,9x9 2000,5,9x9; do refused 'within the picture' --rectangle $place; done
refused 'within the picture' --rectangle 5,5,9x9 --source 1020,5
refused 'nothing surrounds' --rectangle 0,0,1024x512
refused 'no convergence' --rectangle 34,322,104x78 --iterations 5
refused 'no convergence' --rectangle 34,322,30x20 --tolerance 1e-9 --iterations 999

fills plain.png --rectangle 0,0,1x1 --source 0,0 --exposure -1
fills same.png --rectangle 100,100,50x41 --source 100,100 --exposure -1
cmp plain.png same.png || fault "a rectangle filled with itself changes the picture"
fills sky.png --rectangle 620,60,100x80 --exposure -1
cmp plain.png sky.png || fault "a membrane between blown pixels isn't blown"
fills brick.png --rectangle 124,150,148x118 --source 622,150 --exposure -1
cmp -s plain.png brick.png && fault "nothing was filled"
fills border.png --rectangle 0,503,1024x9
((failures == 0))
