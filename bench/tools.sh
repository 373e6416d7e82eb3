#!/usr/bin/env bash
# Compares the processes of the compiler, of comparisons and of configuration checks with their
# baselines: tools.sh BUILD [SCRATCH]. Prints the tables of doc/speed.md. The scratch directory needs
# about 1 GB and is in memory by default, so that no disk is measured.
set -euo pipefail
build=$(realpath "$1")
. "$(dirname "$0")/rounds.sh"
scratch=$(mktemp -d "${2:-/dev/shm}/tools-XXXXXX")
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
for tool in compile show diff find sample; do
    declare "$tool=$build/bin/ocmd_$tool"
done
utility=$build/bin/ocmd_gen

echo "| Grammar | Bytes | Compiling, ms | libyaml's events, ms | Ratio |"
echo "|---|---|---|---|---|"
styles=("one line per key" "one line per word" "quotes and comments")
for style in "${!styles[@]}"; do
    grammar 40 "$style" >grammar.yaml
    rm -f ./*.times
    for ((round = 0; round < rounds; round++)); do
        rm -f made.par # its memory would be released within the time of the next one
        clock compile "$compile --main -o made.par grammar.yaml"
        clock load "$build/bench/yaml_load grammar.yaml"
    done
    echo "| ${styles[style]} | $(stat -c %s grammar.yaml) | $(milliseconds compile) | $(milliseconds load) |" \
        "$(ratio compile load) |"
done

echo
echo "| Tree | Ten words changed, ms | Loading both, ms | Ratio |"
echo "|---|---|---|---|"
for shape in wide deep shared; do
    "$build/bench/make_tree" "$shape" tree.par
    change_ten_words tree.par new.par
    rm -f ./*.times
    for ((round = 0; round < rounds; round++)); do
        clock diff "$diff --stat tree.par new.par >counted || [ \$? = 1 ]"
        clock loading "$(loading "$show") tree.par new.par >checked"
    done
    echo "| $shape | $(milliseconds diff) | $(milliseconds loading) | $(ratio diff loading) |"
done

echo
echo "| Trees | Differences, bytes | ms | ocmd_gen, bytes | ms | Ratio per byte |"
echo "|---|---|---|---|---|---|"
"$build/bench/make_tree" wide wide.par
"$build/bench/make_tree" deep deep.par
differences=$({ "$diff" wide.par deep.par || [ $? = 1 ]; } | wc -c)
listed=$(cat <("$utility" -s wide.par) <("$utility" -s deep.par) | wc -c)
rm -f ./*.times
for ((round = 0; round < rounds; round++)); do
    clock diff "$diff wide.par deep.par >/dev/null || [ \$? = 1 ]"
    clock list "$utility -s wide.par >/dev/null; $utility -s deep.par >/dev/null"
done
echo "| wide and deep | $differences | $(milliseconds diff) | $listed | $(milliseconds list) |" \
    "$(ratio diff list "$differences" "$listed") |"

echo
# Loading the tree is part of both; the last ratio is without it.
echo "| Tree | Million random lines, bytes | ms | --commands, bytes | ms | Loading, ms | Ratio per byte | Lines alone |"
echo "|---|---|---|---|---|---|---|---|"
for shape in wide deep shared; do
    "$build/bench/make_tree" "$shape" tree.par
    sampled="$sample --flat --values types --random 1000000 tree.par"
    bytes=$($sampled | wc -c)
    listed=$("$show" --commands tree.par | wc -c)
    rm -f ./*.times
    for ((round = 0; round < rounds; round++)); do
        clock sample "$sampled >/dev/null"
        clock list "$show --commands tree.par >/dev/null"
        clock load "$(loading "$show") tree.par >checked"
    done
    for run in sample list; do
        paste $run.times load.times | awk '{ print $1 - $2 }' >lines_of_$run.times
    done
    echo "| $shape | $bytes | $(milliseconds sample) | $listed | $(milliseconds list) |" \
        "$(milliseconds load) | $(ratio sample list "$bytes" "$listed") |" \
        "$(ratio lines_of_sample lines_of_list "$bytes" "$listed") |"
done

echo
echo "| Configuration | Bytes | Check of a million lines, ms | wc -w, ms | Ratio |"
echo "|---|---|---|---|---|"
"$show" --commands wide.par | grep -v -e / -e '<' | sed 's/\[o]//g' | head -n 1000000 >saved || true
rm -f ./*.times
for ((round = 0; round < rounds; round++)); do
    clock find "$find wide.par --config=saved >errors || [ \$? = 1 ]"
    clock words "wc -w saved >/dev/null"
done
echo "| wide, $(wc -l <saved) lines, $(wc -l <errors) errors | $(stat -c %s saved) |" \
    "$(milliseconds find) | $(milliseconds words) | $(ratio find words) |"
