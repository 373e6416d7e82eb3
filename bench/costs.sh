#!/usr/bin/env bash
# Counts instructions, which do not depend on system load: costs.sh BUILD [KEPT]. Prints a table with
# the instructions per unit of work. With the file of kept costs, bench/costs.txt, exits with status 1
# if one has grown by more than 5 %. To update the file:
#   bench/costs.sh build/bench >bench/costs.txt
# Compilers generate different instructions, so costs of different compilers are not compared.
set -euo pipefail
build=$(realpath "$1")
kept=${2:+$(realpath "$2")}
. "$(dirname "$0")/rounds.sh"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
for tool in compile show diff sample find; do
    declare "$tool=$build/bin/ocmd_$tool"
done
link=$build/bin/ocmd_link
utility=$build/bin/ocmd_gen

# Selects the generic functions of the C library instead of those for this CPU.
export GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2,-AVX,-ERMS,-FSRM,-SSSE3,-SSE4_1,-SSE4_2,-BMI2,-MOVBE

# [status=STATUS] cost WHAT COUNT COMMAND...: prints the instructions of a run divided by COUNT. The
# run must exit with STATUS, 0 by default.
cost() {
    local what=$1 count=$2
    shift 2
    valgrind --tool=callgrind --callgrind-out-file=profile "$@" >out 2>errors ||
        [ $? = "${status:-0}" ]
    awk -v what="$what" -v count="$count" \
        '/^(summary|totals):/ { printf "%-28s%12.2f\n", what, $2 / count; exit }' profile
}

measure() {
    echo "# $(${CXX:-c++} --version | head -n 1)"
    "$build/bench/make_tree" wide wide.par
    "$build/bench/make_tree" shared shared.par
    change_ten_words shared.par new.par
    cost "line listed" "$("$show" wide.par | awk '/command lines/ { print $NF }')" \
        "$utility" -s wide.par
    cost "record dumped" "$("$utility" -gs wide.par | wc -l)" "$utility" -gs wide.par
    # shellcheck disable=SC2046 # a command with its options
    cost "node validated" 600000 $(loading "$show") wide.par{,,,,,,,,,}
    "$build/bench/make_tree" unlike unlike.par
    cost "node checked" 600000 "$show" --check unlike.par{,,,,,,,,,}
    status=1 cost "pair of nodes compared" 60000 "$diff" --stat shared.par new.par
    grammar 4 1 >main.yaml
    cost "node compiled" 6124 "$compile" --main main.yaml
    link_root 40 >root.yaml
    for ((i = 1; i <= 40; i++)); do
        grammar 1 1 | sed "1s/^/below: main$i\n/; s/area1/area$i/" >"sub$i.yaml"
    done
    "$compile" -W no-dead-end root.yaml sub*.yaml
    cost "node linked" 61283 "$link" -o linked.par root.par sub*.par
    status=1 cost "line with values sampled" 2000 "$sample" --flat --random 2000 wide.par
    "$sample" --flat --random 10000 unlike.par >lines
    cost "line resolved" 10000 "$find" --config=lines unlike.par
}

measure | tee measured
[ -n "$kept" ] || exit 0
if [ "$(head -n 1 "$kept")" != "$(head -n 1 measured)" ]; then
    echo "not compared: the kept costs are those of another compiler" >&2
    exit 0
fi
paste "$kept" measured | awk -F '\t' '
    NR > 1 {
        before = substr($1, 29) + 0
        after = substr($2, 29) + 0
        if (after > 1.05 * before) {
            printf "costs: more than 5 %% above %s: %s\n", before, $2
            grown = 1
        }
    }
    END { exit grown }' >&2
