#!/usr/bin/env bash
# Runs an example as its user would, on a photograph: examples_test.sh panorama|poisson PROGRAM
set -uo pipefail

program=$2 photograph=$PWD/../examples/data/city.exr failures=0
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch" && cp "$photograph" in.exr || exit 1

fault() { echo "$*"; failures=$((failures + 1)); }

# refused ARGUMENT...: one line with a reason, nothing on standard output, a failing exit, no file left.
refused() {
    "$program" "$@" >said 2>complaint && fault "accepted: $*"
    [[ $(wc -l <complaint) == 1 && ! -s said ]] || fault "$*: $(<complaint)"
    compgen -G 'out.png*' >/dev/null && fault "left a file: $*"
    rm -f out.png*
}

# makes SIZE FILE ARGUMENT...: a PNG of this width, height and depth, and no part of another.
makes() {
    "$program" in.exr "${@:2}" >said || fault "failed: ${*:2}"
    [[ $(file -b "$2") == "PNG image data, $1-bit"* ]] || fault "not $1: ${*:2}: $(file "$2")"
    compgen -G "$2.*" >/dev/null && fault "left a part: ${*:2}"
}

panorama() {
    local length arguments
    for length in 0 9 340 100000; do head -c $length in.exr >short-$length.exr; done
    for arguments in short-*.exr . missing.exr; do refused $arguments out.png; done
    for arguments in '' . missing/out.png in.exr 'out.png third' 'out.png --fov 180' 'out.png --fov nan' 'out.png --fov 9x' \
        'out.png --fov' 'out.png --size 9' 'out.png --size 99999x9' 'out.png --tone loud' 'out.png --flat --yaw 5'; do
        refused in.exr $arguments
    done
    cmp in.exr "$photograph" || fault "the input was written to"

    makes '67 x 35, 8' one.png --size 67x35 --yaw 180 --pitch -20
    makes '67 x 35, 8' two.png --pitch=-20 --size=67x35 --yaw=180
    cmp one.png two.png || fault "the same view twice gives two pictures"
    makes '67 x 35, 16' one.png --size 67x35 --pitch 90 --fov 140 --tone reinhard --mark-clipped --bits 16
    makes '1024 x 512, 8' one.png --flat --exposure 0 --offset 0.1
}

poisson() {
    local where
    for where in 1,2,3x 5,5,0x9 -1,5,9x9 5,510,9x9 '5,5,9x9 --source 1020,5' 0,0,1024x512 '34,322,104x78 --iterations 5'; do
        refused in.exr out.png --rectangle $where
    done
    makes '1024 x 512, 8' plain.png --rectangle 0,0,1x1 --source 0,0 --exposure -1
    makes '1024 x 512, 8' same.png --rectangle 100,100,50x41 --source 100,100 --exposure -1
    cmp plain.png same.png || fault "a rectangle filled with itself changes the picture"
    makes '1024 x 512, 8' sky.png --rectangle 620,60,100x80 --exposure -1
    cmp plain.png sky.png || fault "a membrane between blown pixels isn't blown"
    makes '1024 x 512, 8' border.png --rectangle 0,503,1024x9 --source 0,400 --exposure -1
    cmp -s plain.png border.png && fault "nothing was filled"
    [[ $(<said) == *residuals* ]] || fault "not to the end"
}

$1
((failures == 0))
