#!/usr/bin/env bash
# Compares the process ocmd_show: its summary, which counts every line, and --check with loading alone,
# and --commands with the listing of ocmd_gen to the same destination, per byte:
# show.sh BUILD [SCRATCH]. Runs alternate. Times and ratios are medians over the rounds; each ratio is
# that of one round. Prints the tables of doc/speed.md. The scratch directory needs about 4 GB and is
# in memory by default, so that no disk is measured.
set -euo pipefail
build=$(realpath "$1")
. "$(dirname "$0")/rounds.sh"
scratch=$(mktemp -d "${2:-/dev/shm}/show-XXXXXX")
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

show=$build/bin/ocmd_show
utility=$build/bin/ocmd_gen

lines=
echo "| Tree | Loading, ms | Summary, ms | Summary / loading |"
echo "|---|---|---|---|"
for shape in wide deep shared; do
    "$build/bench/make_tree" "$shape" tree.par
    rm -f ./*.times
    for ((round = 0; round < rounds; round++)); do
        clock loading "$(loading "$show") tree.par >/dev/null"
        clock summary "$show tree.par >/dev/null"
    done
    echo "| $shape | $(milliseconds loading) | $(milliseconds summary) | $(ratio summary loading) |"

    bytes=$("$show" --commands tree.par | wc -c)
    listed=$("$utility" -s tree.par | wc -c)
    for place in file pipe /dev/null; do
        declare -A sinks=([file]=">out" [pipe]="| cat >/dev/null" [/dev/null]=">/dev/null")
        rm -f ./*.times
        for ((round = 0; round < rounds; round++)); do
            rm -f out
            clock ours "$show --commands tree.par ${sinks[$place]}"
            rm -f out
            clock utility "$utility -s tree.par ${sinks[$place]}"
        done
        rm -f out
        lines+="| $shape | $place | $bytes | $(milliseconds ours) | $listed |"
        lines+=" $(milliseconds utility) | $(ratio ours utility "$bytes" "$listed") |"$'\n'
    done
done

echo
echo "| Tree | To | --commands, bytes | ms | ocmd_gen, bytes | ms | Ratio per byte |"
echo "|---|---|---|---|---|---|---|"
printf '%s' "$lines"

echo
echo "| Tree | Loading, ms | --check, ms | --check / loading |"
echo "|---|---|---|---|"
for shape in unlike wide deep shared; do
    "$build/bench/make_tree" "$shape" tree.par
    rm -f ./*.times
    for ((round = 0; round < rounds; round++)); do
        clock loading "$(loading "$show") tree.par >/dev/null"
        clock check "$show --check tree.par >/dev/null 2>&1 || true"
    done
    echo "| $shape | $(milliseconds loading) | $(milliseconds check) | $(ratio check loading) |"
done
