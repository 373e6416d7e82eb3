#!/bin/sh
# Makes the main tree of the switch from the grammars beside this script: make.sh FOLDER
# In the folder stand afterwards main.par, what it was linked from, and the prebuilt trees that some
# of that attaches to.
set -eu
grammars=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$1"
cd "$1"
for grammar in "$grammars"/*.yaml; do
    ocmd_compile --strict -o "$(basename "$grammar" .yaml).par" "$grammar"
done
for grammar in "$grammars"/prebuilt/*.yaml; do
    ocmd_compile --strict --main -o "$(basename "$grammar" .yaml).pars" "$grammar"
done
ocmd_link --strict -p . -o main.par root.par *.par
