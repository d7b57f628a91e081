#!/usr/bin/env bash
# Runs an example as its user would, on a photograph: examples_test.sh panorama|poisson PROGRAM
set -uo pipefail
program=$2 photograph=$PWD/../examples/data/city.exr failures=0
scratch=$(mktemp -d) && trap 'rm -rf "$scratch"' EXIT && cd "$scratch" && cp "$photograph" in.exr || exit 1

fault() { echo "$*"; failures=$((failures + 1)); }

# refused 'ARGUMENT...'...: each gives one line with a reason, nothing on standard output, a failing exit, no file.
refused() {
    for arguments; do
        "$program" $arguments >said 2>complaint && fault "accepted: $arguments"
        [[ $(wc -l <complaint) == 1 && ! -s said ]] || fault "$arguments: $(<complaint)"
        [[ -z $(find . -name 'out.png*') ]] || fault "left a file: $arguments"
    done
}

# makes SIZE FILE ARGUMENT...: a PNG of this width, height and depth, and no part of another.
makes() {
    "$program" in.exr "${@:2}" >said || fault "failed: ${*:2}"
    [[ $(file -b "$2") == "PNG image data, $1-bit"* ]] || fault "not $1: ${*:2}: $(file "$2")"
    [[ $(find . -name "$2*") == "./$2" ]] || fault "left a part: ${*:2}"
}

panorama() {
    head -c 340 in.exr >short.exr
    head -c 100000 in.exr >shorter.exr
    refused 'short.exr out.png' 'shorter.exr out.png' in.exr 'in.exr missing/out.png' 'in.exr in.exr' \
        'in.exr out.png --fov 180' 'in.exr out.png --fov 9x' 'in.exr out.png --size 99999x9'
    cmp in.exr "$photograph" || fault "the input was written to"
    makes '67 x 35, 16' one.png --size 67x35 --pitch 90 --fov 140 --tone reinhard --mark-clipped --bits 16
    makes '1024 x 512, 8' one.png --flat --exposure 0 --offset 0.1
}

poisson() {
    local fill='in.exr out.png --rectangle'
    refused "$fill 1,2,3x" "$fill 5,510,9x9" "$fill 5,5,9x9 --source 1020,5" "$fill 0,0,1024x512"
    makes '1024 x 512, 8' plain.png --rectangle 0,0,1x1 --source 0,0 --exposure -1
    makes '1024 x 512, 8' same.png --rectangle 100,100,50x41 --source 100,100 --exposure -1
    cmp plain.png same.png || fault "a rectangle filled with itself changes the picture"
    makes '1024 x 512, 8' border.png --rectangle 0,503,1024x9 --source 0,400 --exposure -1
    cmp -s plain.png border.png && fault "nothing was filled"
}

$1
((failures == 0))
