#!/usr/bin/env bash
# Runs the commands of README. A block marked "sh" is run. A block marked "console" is run line by line, and
# its output is compared. A block marked with a language and a name is stored under this name for the
# commands after it.
#
# The first blocks build in this clone, so that the tests of a build cannot run them:
#     readme_test.sh            runs only these, as .ci/run does first;
#     readme_test.sh BUILD      runs all others, with BUILD as the result of these.
# All others share a directory with links to the clone's files. They install into a scratch directory
# (DESTDIR). Since the real directory requires root, the environment replaces it: search paths for programs
# and pkg-config, and one for libraries instead of ldconfig's cache.
set -euo pipefail
unset CDPATH
clone=$(cd "$(dirname "$0")/.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
builds='^scripts/run-'

# Writes each block to a file; the index contains its number, mark and name.
awk -v folder="$scratch" '
    /^```/ { inside = !inside }
    /^```/ && inside { print ++n, substr($1, 4), $2 > (folder "/index"); next }
    /^```/ { next }
    inside { print > (folder "/block" n) }' "$clone/README.md"

if [ $# -eq 0 ]; then
    cd "$clone"
    while read -r n mark _; do
        if [ "$mark" = sh ] && grep -qE "$builds" "$scratch/block$n"; then
            sh -ex "$scratch/block$n" </dev/null
        fi
    done <"$scratch/index"
    exit
fi

folder=$scratch/folder
mkdir -p "$folder/build" "$scratch/bin"
for file in "$clone"/*; do
    [ "$file" = "$clone/build" ] || ln -s "$file" "$folder"
done
ln -s "$1" "$folder/build/sample"
cd "$folder"
export DESTDIR=$scratch/root
export PKG_CONFIG_PATH=$DESTDIR/usr/local/lib/pkgconfig LD_LIBRARY_PATH=$DESTDIR/usr/local/lib
printf '#!/bin/sh\ntest -e "%s/libtsh.so"\n' "$LD_LIBRARY_PATH" >"$scratch/bin/ldconfig"
chmod +x "$scratch/bin/ldconfig"
PATH=$scratch/bin:$PATH

commands=0
while read -r n mark name; do
    block=$scratch/block$n
    if [ -n "$name" ]; then
        cp "$block" "$name"
    elif grep -q '^PATH=' "$block"; then
        eval "$(<"$block")"
    elif [ "$mark" = sh ] && ! grep -qE "$builds" "$block"; then
        sh -ex "$block" </dev/null
        commands=$((commands + 1))
    elif [ "$mark" = console ]; then
        grep '^\$ ' "$block" | cut -c 3- >"$scratch/lines"
        while read -r line; do
            printf '$ %s\n' "$line"
            sh -c "$line" </dev/null 2>&1 || true
            commands=$((commands + 1))
        done <"$scratch/lines" >"$scratch/printed"
        diff "$block" "$scratch/printed"
    fi
done <"$scratch/index"
[ "$commands" -ge 4 ] # all of them were found
