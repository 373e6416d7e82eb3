#!/usr/bin/env bash
# The utility as a whole process beside cat, which moves the same bytes to the same place, and
# beside the plain walk: listing.sh BUILD [SCRATCH]. Runs take turns, the fastest of each counts.
# Prints the table of doc/speed.md. The scratch folder, by default in memory so that no disk is
# measured, takes about 3 GB.
set -euo pipefail
build=$(realpath "$1")
scratch=$(mktemp -d "${2:-/dev/shm}/listing-XXXXXX")
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
rounds=${ROUNDS:-7}

utility=$build/cmd_gen/ocmd_gen
plain=$build/bench/plain_walk

declare -A fastest
# Runs a command once and keeps its time in microseconds under a name if it is the fastest so far.
clock() {
    local name=$1 start end
    start=${EPOCHREALTIME/./}
    eval "$2"
    end=${EPOCHREALTIME/./}
    local taken=$((end - start))
    [[ ${fastest[$name]:-} && ${fastest[$name]} -le $taken ]] || fastest[$name]=$taken
}
ratio() { awk -v a="${fastest[$1]}" -v b="${fastest[$2]}" 'BEGIN { printf "%.2f", a / b }'; }
milliseconds() { echo $((fastest[$1] / 1000)); }

row() {
    local shape=$1 work=$2 options=$3 place=$4 sink=$5
    fastest=()
    for ((round = 0; round < rounds; round++)); do
        clock ours "$utility $options tree.par $sink"
        clock cat "cat result $sink"
        if [[ $work == listing ]]; then clock plain "$plain tree.par $sink"; fi
    done
    local versus_plain=
    if [[ $work == listing ]]; then versus_plain=$(ratio plain ours); fi
    local versus_cat="$(milliseconds cat) | $(ratio ours cat)"
    if [[ $place == nowhere ]]; then versus_cat=" | "; fi # where cat moves nothing
    echo "| $shape | $work | $place | $(stat -c %s result) | $(milliseconds ours) |" \
        "$versus_cat | $versus_plain |"
}

echo "| Tree | Work | To | Bytes | ocmd_gen, ms | cat, ms | ocmd_gen / cat | plain walk / ocmd_gen |"
echo "|---|---|---|---|---|---|---|---|"
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
