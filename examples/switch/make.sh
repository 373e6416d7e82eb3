#!/bin/sh
# Makes the main tree of the switch from the grammars beside this script: make.sh FOLDER
# In the folder stand afterwards main.par, what it was linked from, and the prebuilt trees that some
# of that attaches to.
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
