#!/usr/bin/env bash
# The reaction's bits don't move when its work is split, stopped or spoilt: reaction_test.sh PROGRAM split|resume|kill
set -uo pipefail
program=$1 failures=0
export OMP_WAIT_POLICY=passive ASAN_OPTIONS=detect_leaks=0
# Open MPI 4 and 5: more ranks than cores, all on this machine, whoever the user is.
export {OMPI,PRTE}_ALLOW_RUN_AS_ROOT{,_CONFIRM}=1 OMPI_MCA_btl=self,vader
export OMPI_MCA_rmaps_base_oversubscribe=1 PRTE_MCA_rmaps_default_mapping_policy=:oversubscribe
scratch=$(mktemp -d) && trap 'rm -rf "$scratch"' EXIT && cd "$scratch" || exit 1

fault() { echo "$*"; failures=$((failures + 1)); }
on() { OMP_NUM_THREADS=$2 timeout 100 mpirun -n "$1" "$program" "${@:3}"; }
# Of what went wrong one rank says one line; mpirun may add its own.
once() { (($(grep -c '^reaction: ' complaint) == 1)) || fault "$*: $(<complaint)"; }
# A run's sums and digest are those of one thread of one rank.
grid=(--size 70x46 --steps 60)
told() { grep -E '^(step|digest)' said | tail -n 2; }
same() { "$@" >said; [[ $(told) == "$wanted" ]] || fault "$*: $(told), not $wanted"; }
OMP_NUM_THREADS=1 "$program" one.png "${grid[@]}" >said && wanted=$(told) || fault "one rank failed"

split() {
    for ranks in 1 2 3 5 46; do same on $ranks 1 out.png "${grid[@]}"; done
    same on 3 3 out.png "${grid[@]}" --flag clear --report 7
    cmp one.png out.png || fault "another picture"
    on 47 1 no.png "${grid[@]}" 2>complaint && fault "46 rows on 47 ranks"
    once "too many ranks"
}
resume() {
    on 3 1 half.png "${grid[@]}" --steps 31 --checkpoint state >said || fault "no checkpoint"
    same on 2 2 out.png "${grid[@]}" --resume state
    head -c 9999 state >short && head -c "$(wc -c <state)" "$program" >foreign && cp state damaged
    printf '\x55' | dd of=damaged bs=1 seek=20000 conv=notrunc status=none
    for file in short foreign damaged 'state --kill 0.06' 'state --size 46x70' 'state --steps 30'; do
        on 2 1 no.png "${grid[@]}" --resume $file >said 2>complaint && fault "accepted: $file"
        once "$file"
        [[ ! -e no.png ]] || fault "$file: a picture of it"
    done
}
kill() {
    on 3 1 out.png "${grid[@]}" --steps 1000000 --checkpoint "$scratch/state" --every 5 >said 2>&1 &
    until [[ -e state ]] || ! builtin kill -0 $!; do sleep 0.02; done
    builtin kill -9 "$(pgrep -f "^$program .*$scratch/state" | tail -n 1)"
    wait $! && fault "it went on without a rank"
    steps=$(od -An -td8 -j24 -N8 state)
    "$program" one.png "${grid[@]}" --steps $((steps + 9)) >said && wanted=$(told)
    same on 2 1 out.png "${grid[@]}" --steps $((steps + 9)) --resume state
}
$2
((failures == 0))
