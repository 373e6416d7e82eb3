#!/bin/sh
# Compiles the grammars of this directory into the main tree of the switch: make.sh DIRECTORY
# The directory then contains main.par and the prebuilt trees from which missing nodes were borrowed.
set -eu
unset CDPATH
grammars=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$1"
cd "$1"
for grammar in "$grammars"/prebuilt/*.yaml; do
    ocmd_compile --strict --main -o "$(basename "$grammar" .yaml).pars" "$grammar"
done
ocmd_compile --strict --main -p . -o main.par "$grammars"/*.yaml
