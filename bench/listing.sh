#!/usr/bin/env bash
# Compares the process ocmd_gen with three baselines: the lower bound, which only writes as many bytes
# to the same destination, cat, which copies the same bytes there, and the plain walk:
# listing.sh BUILD [SCRATCH]. Runs alternate. Times and ratios are medians over the rounds; each
# ratio is that of one round. Prints the table of doc/speed.md. The scratch directory needs about 4 GB
# and is in memory by default, so that no disk is measured.
set -euo pipefail
build=$(realpath "$1")
. "$(dirname "$0")/rounds.sh"
scratch=$(mktemp -d "${2:-/dev/shm}/listing-XXXXXX")
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

utility=$build/bin/ocmd_gen
floor=$build/bench/floor
plain=$build/bench/plain_walk

# Times a run into a new file: the previous file may still be in a write-back, and freeing it would
# count.
run() {
    rm -f out
    clock "$@"
}

row() {
    local shape=$1 work=$2 options=$3 place=$4 sink=$5 versus_written=' |  | ' versus_plain=
    local bytes
    bytes=$(stat -c %s result)
    rm -f ./*.times
    for ((round = 0; round < rounds; round++)); do
        run ours "$utility $options tree.par $sink"
        if [[ $place != /dev/null ]]; then # there, writing costs nothing
            run floor "$floor $bytes $sink"
            run cat "cat result $sink"
        fi
        if [[ $work == listing ]]; then run plain "$plain tree.par $sink"; fi
    done
    if [[ $place != /dev/null ]]; then
        versus_written="$(milliseconds floor) | $(ratio ours floor) | $(ratio ours cat)"
    fi
    if [[ $work == listing ]]; then versus_plain=$(ratio plain ours); fi
    echo "| $shape | $work | $place | $bytes | $(milliseconds ours) | $versus_written |" \
        "$versus_plain |"
}

echo "| Tree | Work | To | Bytes | ocmd_gen, ms | lower bound, ms | ocmd_gen / lower bound | ocmd_gen / cat |" \
    "plain walk / ocmd_gen |"
echo "|---|---|---|---|---|---|---|---|---|"
memory=
for shape in wide deep shared; do
    "$build/bench/make_tree" "$shape" tree.par
    memory+=" $shape $(/usr/bin/time -f %M "$utility" -s tree.par 2>&1 >/dev/null)"
    for work in listing dump; do
        options=-s
        if [[ $work == dump ]]; then options=-gs; fi
        "$utility" $options tree.par >result
        if [[ $work == listing ]]; then "$plain" tree.par | cmp - result; fi
        row "$shape" "$work" "$options" file ">out"
        row "$shape" "$work" "$options" pipe "| cat >/dev/null"
        if [[ $work == listing ]]; then row "$shape" "$work" "$options" /dev/null ">/dev/null"; fi
    done
done

echo
echo "Maximum resident KB of a listing, for a mapped tree of $(($(stat -c %s tree.par) / 1024)) KB:$memory"
