#!/usr/bin/env bash
# The utility as a whole process beside three yardsticks: the floor, which only writes as many bytes
# to the same place, cat, which moves the same bytes there, and the plain walk:
# listing.sh BUILD [SCRATCH]. Runs take turns. Times and ratios are medians over the rounds, each
# ratio taken within its round. Prints the table of doc/speed.md. The scratch folder, by default in
# memory so that no disk is measured, takes about 4 GB.
set -euo pipefail
build=$(realpath "$1")
. "$(dirname "$0")/rounds.sh"
scratch=$(mktemp -d "${2:-/dev/shm}/listing-XXXXXX")
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

utility=$build/bin/ocmd_gen
floor=$build/bench/floor
plain=$build/bench/plain_walk

# Clocks a run into a new file: the one before may still be on its way to a disk, and freeing it
# would count.
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
        if [[ $place != nowhere ]]; then # where writing is nothing
            run floor "$floor $bytes $sink"
            run cat "cat result $sink"
        fi
        if [[ $work == listing ]]; then run plain "$plain tree.par $sink"; fi
    done
    if [[ $place != nowhere ]]; then
        versus_written="$(milliseconds floor) | $(ratio ours floor) | $(ratio ours cat)"
    fi
    if [[ $work == listing ]]; then versus_plain=$(ratio plain ours); fi
    echo "| $shape | $work | $place | $bytes | $(milliseconds ours) | $versus_written |" \
        "$versus_plain |"
}

echo "| Tree | Work | To | Bytes | ocmd_gen, ms | floor, ms | ocmd_gen / floor | ocmd_gen / cat |" \
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
        if [[ $work == listing ]]; then row "$shape" "$work" "$options" nowhere ">/dev/null"; fi
    done
done

echo
echo "Resident KB at most while listing, for a mapped tree of $(($(stat -c %s tree.par) / 1024)) KB:$memory"
