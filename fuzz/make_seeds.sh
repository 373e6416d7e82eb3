#!/usr/bin/env bash
# Makes what fuzzers start from, by the tools along PATH: make_seeds.sh FOLDER. The seeds of each
# fuzzer go to FUZZER_seeds/ in the folder.
set -euo pipefail
unset CDPATH
fuzz=$(cd "$(dirname "$0")" && pwd)
cd "$1"
rm -rf ./*_seeds
mkdir {find,grammar,main_tree,sample,subtree_file,tree_tools}_fuzz_seeds
cp -r "$fuzz"/{grammars,../examples/switch,../tests/grammars/*.yaml} grammar_fuzz_seeds
made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT

# Every grammar beside this script as a file, and a linked tree.
for grammar in "$fuzz"/grammars/*.yaml; do
    name=$(basename "$grammar" .yaml)
    options=(-W no-dead-end -W no-redirect-root)
    [[ $name != *.main ]] || options+=(--main)
    ocmd_compile "${options[@]}" -o "$made/$name.gz" "$grammar"
    gzip -dcf "$made/$name.gz" >"$made/$name"
done
ocmd_link -o "$made/linked" "$made"/{root,both}.gz
touch "$made/none"

seeds=0
# seed FUZZER TEXT FILE...: files, each behind its length in two bytes, and a text.
seed() {
    local fuzzer=$1 text=$2 file size
    shift 2
    for file; do
        size=$(stat -c %s "$made/$file")
        printf '%b' "\\x$(printf %x $((size % 256)))\\x$(printf %x $((size / 256)))"
        cat "$made/$file"
    done >"$made/seed"
    printf '%s' "$text" >>"$made/seed"
    mv "$made/seed" "${fuzzer}_seeds/$((++seeds))"
}

for sub in both circle clash lost borrowed; do
    seed subtree_file_fuzz "" root "$sub" prebuilt.main prebuilt2.main
done
seed subtree_file_fuzz "cut short" leaf lost none none
for main in bare.main everything.main prebuilt.main linked; do
    seed main_tree_fuzz "000a x b" "$main"
    seed main_tree_fuzz $'\x01\xff0 a d e' "$main"
done
seed tree_tools_fuzz "" bare.main everything.main
seed tree_tools_fuzz "" everything.main prebuilt.main
seed tree_tools_fuzz "" root both
seed tree_tools_fuzz "" clash circle
seed tree_tools_fuzz "" both.gz everything.main
# Enough bytes for a small tree, and what is typed behind them.
seed find_fuzz "$(printf 'a ab D / e %.0s' {1..30})"
seed find_fuzz "$(printf 'ab%.0s' {1..90})"
# Enough bytes for small trees of short and of long lines.
seed sample_fuzz "$(printf 'a ab D / e %.0s' {1..30})"
seed sample_fuzz "$(printf '\x01\x02\x04\x07%.0s' {1..60})"
