#!/usr/bin/env bash
# Holds the house plan: a room includes only from itself and from the rooms it stands on (the table
# of doc/house.md). Prints every #include that points the wrong way; fails if there is one.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."

declare -A stands_on=(
    [platform]=""
    [feature]="platform"
    [bmask]="platform"
    [parse_tree]="platform feature bmask"
    [atnode]="platform feature parse_tree"
    [param_reg]="platform feature parse_tree"
    [treelink]="platform feature parse_tree param_reg"
    [cmd_gen]="platform feature bmask parse_tree atnode param_reg"
)
wrong=0
for room in "${!stands_on[@]}"; do
    allowed=$(tr ' ' '|' <<<"$room ${stands_on[$room]}")
    includes=$(git grep -nE '^#include "' -- "$room/*.h" "$room/*.cpp")
    grep -vE "#include \"(${allowed%|})/" <<<"$includes" && wrong=1
done
# Programs outside the library see it as a stranger does.
git grep -nE '^#include "([^"]*_internal\.h"|tests/)' -- tools examples && wrong=1 ||
    [ $? = 1 ] # git has found none
exit "$wrong"
