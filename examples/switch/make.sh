#!/bin/sh
# Compiles the grammars of this directory into the main tree of the switch: make.sh DIRECTORY
# The directory then contains main.par, the subtree files from which it was linked, and the prebuilt trees.
set -eu
unset CDPATH
grammars=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$1"
cd "$1"
set -- # the subtree files
for grammar in "$grammars"/*.yaml; do
    file=$(basename "$grammar" .yaml).par
    ocmd_compile --strict -o "$file" "$grammar"
    set -- "$@" "$file"
done
for grammar in "$grammars"/prebuilt/*.yaml; do
    ocmd_compile --strict --main -o "$(basename "$grammar" .yaml).pars" "$grammar"
done
ocmd_link --strict -p . -o main.par root.par "$@"
