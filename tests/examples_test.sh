#!/usr/bin/env bash
# Runs the examples as their user would, ASPECT being a function test_ASPECT below: examples_test.sh ASPECT DIRECTORY
# DIRECTORY has the programs. Those from signals to pages need MPI.
set -uo pipefail
aspect=test_$1 bin=$2 tree=$(cd "$(dirname "$0")/.." && pwd) failures=0
export OMP_WAIT_POLICY=passive ASAN_OPTIONS=detect_leaks=0
# Open MPI 4 and 5: more ranks than cores, all on this machine, whoever the user is.
export {OMPI,PRTE}_ALLOW_RUN_AS_ROOT{,_CONFIRM}=1 OMPI_MCA_btl=self,vader
export OMPI_MCA_rmaps_base_oversubscribe=1 PRTE_MCA_rmaps_default_mapping_policy=:oversubscribe
scratch=$(mktemp -d) && trap 'rm -rf "$scratch"' EXIT && cd "$scratch" && mkdir w && mkfifo pipe && cd w || exit 1
cp "$tree/examples/data/city.exr" in.exr

fault() { echo "$*"; failures=$((failures + 1)); }

# refused REASON 'PROGRAM ARGUMENT...'...: each gives one line with the reason, nothing on standard output and a failing
# exit; no file is made or changed.
refused() {
    local reason=$1 command before
    shift
    before=$(cksum -- * 2>&1)
    for command; do
        eval "timeout 60 \"\$bin\"/$command" >../said 2>../complaint && fault "accepted: $command"
        [[ $(wc -l <../complaint) == 1 && ! -s ../said && $(<../complaint) == *"$reason"* ]] ||
            fault "$command: not '$reason' but $(<../complaint)"
        [[ $(cksum -- * 2>&1) == "$before" ]] || fault "$command: other files, $(ls)"
    done
}

# keepsFiles 'PROGRAM ARGUMENT...': the command but for its output.
keepsFiles() {
    cp in.exr photo.png && printf '\x89PNG words' >text.png && ln -s in.exr link.png && ln -s none.png lost.png && mkdir folder.png
    refused 'name that ends in .png' "$1 in.exr" "$1 \"\$PWD/in.exr\"" "$1 out"
    refused 'of another kind' "$1 photo.png" "$1 link.png" "$1 text.png"
    refused 'an empty name' "$1 ''"
    refused 'is a directory' "$1 folder.png"
    refused 'exist' "$1 none/out.png" "$1 lost.png"
    rm -r ./*.png
}

# makes SIZE FILE ARGUMENT...: a PNG of this width, height and depth, and no part of another.
makes() {
    "$bin/$program" in.exr "${@:2}" >../said || fault "failed: ${*:2}"
    [[ $(file -b "$2") == "PNG image data, $1-bit"* ]] || fault "not $1: ${*:2}: $(file "$2")"
    [[ $(find . -name "$2*") == "./$2" ]] || fault "left a part: ${*:2}"
}

test_panorama() {
    program=panorama
    keepsFiles 'panorama in.exr'
    head -c 340 in.exr >short.exr
    head -c 100000 in.exr >shorter.exr
    refused "can't be read as an OpenEXR image" 'panorama short.exr out.png' 'panorama shorter.exr out.png'
    refused 'an input and an output file' 'panorama in.exr'
    refused 'above 0 and below 180' 'panorama in.exr out.png --fov 180' 'panorama in.exr out.png --fov=0'
    refused 'takes a' 'panorama in.exr out.png --fov 9x' 'panorama in.exr out.png --size 99999x9'
    refused 'takes no value' 'panorama in.exr out.png --report=1'
    makes '67 x 35, 16' one.png --size 67x35 --pitch 90 --fov=140 --tone reinhard --mark-clipped --bits 16
    makes '1024 x 512, 8' one.png --flat --exposure 0 --offset 0.1
    cp one.png two.png
    # A limit stands in for a full disk: the system's word for it, and the old picture as it was.
    [[ $(ulimit -f 9; "$bin/panorama" in.exr one.png --flat 2>&1) == *'File too large' ]] || fault "no reason"
    [[ $(ls) == $'in.exr\none.png\nshort.exr\nshorter.exr\ntwo.png' ]] && cmp one.png two.png || fault "no disk: $(ls)"
    # What nobody can read fails, and no file takes the place of a closed output.
    "$bin/panorama" --help >/dev/full 2>../said && fault "help to a full disk"
    "$bin/panorama" in.exr two.png --flat --exposure 0 --offset 0.1 >&- 2>../said && fault "report to nowhere"
    cmp one.png two.png && chmod 600 two.png
    "$bin/panorama" in.exr two.png --flat >../said && [[ $(stat -c %a two.png) == 600 ]] || fault "public now: $(ls -l)"
    LC_ALL=C sed 's/\(chlist\x00....\)B\(\x00.\{16\}\)G\(\x00.\{16\}\)R/\1\x1b\2b\3c/' in.exr >escape.exr
    refused '(?, b, c)' 'panorama escape.exr out.png'
}

test_poisson() {
    program=poisson
    keepsFiles 'poisson in.exr --rectangle 5,5,9x9'
    local fill='poisson in.exr out.png --rectangle'
    refused 'is written' "$fill 1,2,3x"
    refused 'lie within' "$fill 5,510,9x9" "$fill 5,5,9x9 --source 1020,5"
    refused 'nothing surrounds' "$fill 0,0,1024x512"
    refused 'whole number' "$fill 5,5,9x9 --iterations 1.5"
    makes '1024 x 512, 8' plain.png --rectangle 0,0,1x1 --source 0,0 --exposure -1
    makes '1024 x 512, 8' same.png --rectangle 100,100,50x41 --source 100,100 --exposure -1
    cmp plain.png same.png || fault "a rectangle filled with itself changes the picture"
}

test_reaction() {
    keepsFiles 'reaction in.exr --size 9x9'
    # One line for the first start and the next.
    local line=("$bin/reaction" a.png --size 9x9 --checkpoint a.state --resume a.state)
    "${line[@]}" --steps 3 >../said && grep -q 'from step 0' ../said || fault "not afresh: $(<../said)"
    ln a.state b.state && cp a.state before
    local out='reaction out.png --size 9x9'
    refused 'is the same file' "$out --checkpoint out.png" 'reaction a.png --resume a.png'
    refused 'name that ends in .state' "$out --checkpoint in.exr"
    printf 'react 1\n' >photo.state && refused 'of another kind' "$out --checkpoint photo.state"
    refused 'whole number' "$out --steps 1.5" "$out --every=1.5"
    refused 'needs --checkpoint' "$out --every 5"
    refused "isn't a checkpoint" "$out --resume in.exr" "$out --resume a.png"
    refused "isn't a file that can be read" "$out --resume ../pipe"
    refused 'name too long' "reaction $(printf %0250d 0).png --steps 1000000000"
    refused 'is there already' "$out --checkpoint a.state" "$out --checkpoint a.state --resume before"
    # A name more of the old state: its bytes stay, since the next one is another file.
    "${line[@]}" --steps 7 >../said && cmp b.state before && ! cmp -s a.state before || fault "not replaced: $(<../said)"
    "$bin/reaction" a.png --size 9x9 --steps 7 --checkpoint b.state --overwrite >../said && cmp a.state b.state || fault "other cells"
    # A file that comes under the output's name during the run stays.
    "$bin/reaction" late.png --size 99x99 --steps 300 --checkpoint late.state --every 1 >../said 2>&1 &
    until [[ -e late.state ]] || ! kill -0 $!; do sleep 0.002; done
    cp in.exr late.png
    wait $! || cmp in.exr late.png && grep -q 'has come or changed' ../said || fault "replaced: $(<../said)"
    [[ $(find . -name '*.part') ]] && fault "left a part"
}

on() { OMP_NUM_THREADS=$2 timeout 100 mpirun -n "$1" "$bin/reaction" "${@:3}"; }
# once REASON CASE: one rank says one line of what went wrong; mpirun may add its own.
once() {
    local line
    line=$(tr -d '\0' <complaint | grep '^reaction: ')  # Open MPI 5 writes such bytes
    [[ $line == *"$1"* && $line != *$'\n'* ]] || fault "$2: $(tr -d '\0' <complaint)"
}
# A run's sums and digest are those of one thread of one rank.
grid=(--size 70x46 --steps 60)
told() { grep -E '^(step|digest)' said | tail -n 2; }
same() { "$@" >said; [[ $(told) == "$wanted" ]] || fault "$*: $(told), not $wanted"; }
alone() { OMP_NUM_THREADS=1 "$bin/reaction" "$@" one.png >said && wanted=$(told) || fault "one rank failed"; }

# begun FILE COMMAND...: in the background, as a terminal would, once FILE has something in it.
begun() {
    : >said
    set -m
    "${@:2}" >said 2>complaint &
    set +m
    until [[ -s $1 ]] || ! kill -0 $!; do sleep 0.01; done
}
# ends STATUS CASE: what was begun, and not since its time is up.
ends() {
    local status=0
    wait $! 2>/dev/null || status=$?
    # shellcheck disable=SC2053  # a pattern
    [[ $status == $1 && $status != 124 ]] || fault "$2: $status, not $1: $(<complaint)"
}
# The process of a rank that writes out.png.
pidOf() {
    pgrep -f "reaction $PWD/out.png" | sed 's:.*:/proc/&/environ:' | xargs grep -lzx "OMPI_COMM_WORLD_RANK=$1" | cut -d / -f 3
}

# Each signal ends a program that writes by its own status, and leaves no part of a file. mpirun may kill what it ends
# while the disk is slow: the next start removes what is left then.
test_signals() {
    local signal victim out=("$PWD/out.png" --size 300x200 --checkpoint s.state --steps)
    for signal in 1 2 3 15; do
        timeout --preserve-status -s $signal 0.3 "$bin/panorama" in.exr out.png --size 3000x3000
        (($? == 128 + signal)) || fault "panorama, signal $signal"
        for victim in 0 mpirun; do
            [[ $signal == 3 && $victim == mpirun ]] && continue  # it would die alone
            begun s.state on 3 1 "${out[@]}" 1000000 --every 1
            until [[ $(find . -name '*.part') ]] || ! kill -0 $!; do sleep 0.005; done
            if [[ $victim == 0 ]]; then
                kill -$signal "$(pidOf 0)"
                ends $((128 + signal)) "rank 0, signal $signal"
                [[ -z $(find . -name '*.part') ]] || fault "signal $signal left $(ls)"
            else
                kill -$signal "$(ps -o ppid= "$(pidOf 0)")"
                ends '[1-9]*' "mpirun, signal $signal"
            fi
            touch s.state.5.part && "$bin/reaction" "${out[@]}" 0 --overwrite >said
            [[ -z $(find . -name '*.part') ]] && rm s.state || fault "$victim, signal $signal, next start: $(ls)"
        done
    done
}
test_split() {
    alone "${grid[@]}"
    for ranks in 1 2 3 5 46; do same on $ranks 1 out.png "${grid[@]}"; done
    same on 3 3 out.png "${grid[@]}" --flag clear --report 7
    cmp one.png out.png || fault "another picture"
    on 47 1 no.png "${grid[@]}" 2>complaint && fault "46 rows on 47 ranks"
    once "too few" "47 ranks"
}
test_resume() {
    local start=(in.exr --size 70x46 --feed 0.03 --kill 0.06 --seed 3)
    alone "${start[@]}" --steps 60
    on 3 1 "${start[@]}" half.png --steps 31 --checkpoint a.state >said || fault "no checkpoint"
    same on 2 2 out.png --steps 60 --resume a.state
    same on 2 1 "${start[@]}" out.png --steps 60 --resume a.state
    rm said && head -c 9999 a.state >short && head -c "$(wc -c <a.state)" "$bin/reaction" >foreign
    for at in 20 48 30000; do cp a.state damaged$at && printf '\x55' | dd of=damaged$at bs=1 seek=$at conv=notrunc status=none; done
    local to='reaction no.png --resume'
    refused bytes "$to short"
    refused "isn't a checkpoint" "$to foreign"
    refused 'is damaged' "$to damaged20" "$to damaged48" "$to damaged30000"
    refused 'with other values' "$to a.state --kill 0.061" "$to a.state --feed 0.04" "$to a.state --size 46x70 --seed 3"
    refused 'another photograph' "reaction \"\$tree\"/examples/data/courtyard.exr no.png --resume a.state"
    refused 'at step 31 already' "$to a.state --steps 30"
}
test_kill() {
    local rank steps state=(--size 300x200 --steps 1000000 --checkpoint a.state --every 5)
    begun a.state on 3 1 "$PWD/out.png" "${state[@]}"
    for _ in 1 2 3 4 5 6; do "$bin/reaction" no.png --checkpoint a.state 2>../said && fault "another's checkpoint"; done
    kill -0 $! && kill -9 "$(pidOf 2)" || fault "a living part was removed: $(<complaint)"
    ends '[1-9]*' "without rank 2"
    steps=$(od -An -td8 -j8 -N8 a.state)
    alone --size 300x200 --steps $((steps + 9))
    same on 2 1 out.png --steps $((steps + 9)) --resume a.state
    # A limit stands in for a full disk, told once. Of a state all ranks know; with a picture rank 0 is alone.
    for rank in 0 1; do
        rm a.state
        begun a.state on 2 1 "$PWD/out.png" "${state[@]}"
        prlimit --fsize=100000 --pid "$(pidOf $rank)"
        ends 1 "rank $rank can't write" && once "File too large" "rank $rank"
    done
    begun said on 2 1 "$PWD/out.png" --size 300x200 --steps 3000 --report 1
    prlimit --fsize=100 --pid "$(pidOf 0)"
    ends 1 "a picture of 100 bytes" && once "File too large" "a picture"
    [[ -z $(find . -name '*.part') ]] || fault "left $(ls)"
}
# The lines with mpirun that the pages show, as they stand there; where it asks for more, what the pages say of it.
test_pages() {
    local page line lines
    unset {OMPI,PRTE}_ALLOW_RUN_AS_ROOT{,_CONFIRM} OMPI_MCA_rmaps_base_oversubscribe PRTE_MCA_rmaps_default_mapping_policy
    ln -s "$tree/examples" examples && mkdir -p build/release && ln -s "$bin" build/release/bin
    for page in README.md docs/scale.md; do
        mapfile -t lines < <(grep -E '^    mpirun ' "$tree/$page")
        ((${#lines[@]} > 0)) && grep -qz 'as root.*`--allow-run-as-root`' "$tree/$page" || fault "$page shows no line"
        for line in "${lines[@]}"; do
            ((EUID > 0)) || line=${line/mpirun/mpirun --allow-run-as-root}
            bash -c "$line --steps 50" >said 2>complaint && grep -q ', 2 ranks' said || fault "$page: $line: $(<complaint)"
        done
    done
}

# README's two variables are enough for CMake and pkg-config after its own install.
test_installed() {
    cmake --install "$bin/.." --prefix "$PWD/zel" >../said || fault "no install"
    export HOME=$PWD
    eval "$(grep -E '^    export ' "$tree/README.md")"
    cmake -S "$tree/examples/first" -B first >../said && cmake --build first >>../said && [[ $(first/first) == 750 ]] ||
        fault "by find_package: $(<../said)"
    # shellcheck disable=SC2046  # the flags are words
    g++ "$tree/examples/first/first.cpp" $(pkg-config --cflags --libs zel) -Wl,-rpath,"$HOME/zel/lib" -o words &&
        [[ $(./words) == 750 ]] || fault "by pkg-config"
}

# The lines of the page on other languages, as they stand. Python is the system's, which has its NumPy.
test_languages() {
    cmake --install "$bin/.." --prefix "$PWD/zel" >../said || fault "no install"
    sed -n '/^```sh$/,/^```$/{//!p}' "$tree/docs/languages.md" >../lines
    (cd "$tree" && HOME=$OLDPWD PATH=/usr/bin:$PATH bash -eu "$scratch/lines") >../said 2>&1 || fault "the page's lines"
    diff <(sed -n '/^```text$/,/^```$/{//!p}' "$tree/docs/languages.md") ../said || fault "not as the page has it"
}

if declare -F "$aspect" >../said; then $aspect; else fault "no such function: $aspect"; fi
((failures == 0))
