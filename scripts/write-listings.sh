#!/usr/bin/env bash
# Writes trees and output of a build, which must be equal on all hosts of one byte order:
# write-listings.sh BUILD DIRECTORY. Stores the trees of the example, the output of each program for its
# main tree, and checksums of large random trees and their listings.
set -euo pipefail
unset CDPATH
build=$(realpath -m "$1") folder=$(realpath -m "$2")
cd "$(dirname "$0")/.."
clone=$PWD
PATH=$build/bin:$PATH
rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"

"$clone/examples/switch/make.sh" switch
ocmd_gen -s switch/main.par >list
ocmd_gen -gs switch/main.par >dump
for view in commands nodes json dot; do
    ocmd_show --"$view" switch/main.par >"$view"
done
ocmd_compile -o switch/bays.par "$clone/examples/switch/bays.yaml"
ocmd_show --yaml switch/bays.par >yaml

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
c++ -std=c++20 -I "$clone" "$clone/bench/make_tree.cpp" -o "$scratch/make_tree"
for shape in wide deep shared; do
    "$scratch/make_tree" "$shape" "$scratch/$shape.par"
    cksum <"$scratch/$shape.par"
    ocmd_gen -s "$scratch/$shape.par" | cksum
    ocmd_gen -gs "$scratch/$shape.par" | cksum
done >sums
