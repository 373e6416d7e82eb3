#!/usr/bin/env bash
# Compares start-up with the main tree of the example to an empty C program with the same libraries:
# startup.sh BUILD. Runs alternate; the fastest of each counts.
set -euo pipefail
build=$(realpath "$1")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
echo 'int main(void) { return 0; }' >"$scratch/empty.c"
cc -O2 "$scratch/empty.c" -o "$scratch/empty" -Wl,--no-as-needed -L"$build" -ltsh -lz -lglib-2.0 \
    -Wl,-rpath,"$build"

fastest() {
    local best=$1 start end
    start=${EPOCHREALTIME/./}
    "${@:2}" >/dev/null
    end=${EPOCHREALTIME/./}
    echo $((best == 0 || end - start < best ? end - start : best))
}
ours=0
empty=0
for ((round = 0; round < 300; round++)); do
    ours=$(fastest $ours "$build/bin/ocmd_gen" -s "$build/examples/switch/main.par")
    empty=$(fastest $empty "$scratch/empty")
done
awk -v a="$ours" -v b="$empty" \
    'BEGIN { printf "start-up: ocmd_gen %d us, empty program %d us, ratio %.2f\n", a, b, a / b }'
