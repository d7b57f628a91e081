#!/usr/bin/env bash
# Runs the panorama viewer as its user would: panorama_test.sh PANORAMA DATA_DIRECTORY
set -uo pipefail

panorama=$1 data=$2 failures=0
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch" || exit 1
cp "$data/city.exr" in.exr

fault() { echo "$1"; failures=$((failures + 1)); }

# refused ARGUMENT...: one line on standard error, nothing on standard output, a failing exit, no file left.
refused() {
    "$panorama" "$@" >said 2>complaint && fault "accepted: $*"
    [[ $(wc -l <complaint) == 1 && ! -s said ]] || fault "not one line of complaint: $*: $(cat complaint)"
    compgen -G 'out.png*' >/dev/null && fault "left a file: $*"
    rm -f out.png*
}

# makes WIDTH HEIGHT BITS FILE ARGUMENT...: a PNG whose header says so. The three lie behind 16 bytes.
makes() {
    local wanted="$1 $2 $3" file=$4 a
    "$panorama" in.exr "$file" "${@:5}" >said || { fault "failed: ${*:5}"; return; }
    read -ra a < <(od -An -tu1 -j16 -N9 "$file")
    [[ "$((a[2] * 256 + a[3])) $((a[6] * 256 + a[7])) ${a[8]}" == "$wanted" ]] || fault "not $wanted: ${*:5}"
    [[ $(head -c4 "$file" | od -An -c | tr -d ' ') == '211PNG' ]] || fault "not a PNG: ${*:5}"
    compgen -G "$file.*" >/dev/null && fault "left a part: ${*:5}"
}

for length in 0 1 4 9 200 340 1000 100000 211786; do
    head -c $length in.exr >short.exr
    refused short.exr out.png
done
echo "This is not a picture." >text.exr
mkdir directory.exr
for input in text.exr directory.exr missing.exr; do refused $input out.png; done
for output in directory.exr missing/out.png in.exr; do refused in.exr $output; done
cmp -s in.exr "$data/city.exr" || fault "the input was written to"
refused
refused in.exr
refused in.exr out.png third
for option in '--fov 0' '--fov 180' '--fov -1' '--fov nan' '--fov ten' '--fov 9x' '--fov' '--size 0x9' '--size 9' \
    '--size 9x9x9' '--size 99999x9' '--yaw inf' '--pitch 91' '--exposure nan' '--offset 1e99' '--tone loud' \
    '--bits 12' '--colour' '-x' '--flat --yaw 5'; do
    refused in.exr out.png $option
done

makes 67 35 8 one.png --size 67x35 --yaw 180 --pitch -20
makes 67 35 8 two.png --pitch=-20 --size=67x35 --yaw=180
cmp one.png two.png || fault "the same view twice gives two pictures"
makes 67 35 8 two.png --size 67x35 --yaw 0 --pitch -20
cmp -s one.png two.png && fault "another view gives the same picture"
makes 67 35 16 one.png --size 67x35 --pitch 90 --fov 140 --tone reinhard --mark-clipped --exposure 3 --bits 16
makes 1024 512 8 one.png --flat --exposure 0 --offset 0.1
((failures == 0))
