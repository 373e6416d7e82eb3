#!/usr/bin/env bash
# Installing packages where that cannot be done names what is missing, shows what the package
# manager said, and fails: scripts_test.sh. Stand-ins take the place of the programs involved.
set -euo pipefail
scripts=$(cd "$(dirname "$0")/../scripts" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
for program in bash cat dirname env grep mktemp rm; do
    ln -s "$(command -v $program)" "$scratch"
done

stand_in() { printf '#!/bin/sh\n%s\n' "$2" >"$scratch/$1" && chmod +x "$scratch/$1"; }
# refused TEXT: installing a package fails with this text.
refused() {
    if PATH=$scratch "$scripts/install-packages.sh" clang no-such 2>"$scratch/said"; then exit 1; fi
    diff "$scratch/said" <(printf 'missing packages: clang libclang-rt-dev no-such\n%b' "$1")
}

stand_in dpkg-query 'exit 1'
stand_in id 'echo 1000'
refused 'only root can do this, and there is no sudo\n'
stand_in id 'echo 0'
stand_in true ''
stand_in apt-get 'echo "E: $1"; exit 100'
refused 'E: update\nsome package lists are out of date\nE: install\n'
