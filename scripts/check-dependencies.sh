#!/usr/bin/env bash
# Checks that each component includes only from itself and from the components that
# cmake/components.cmake allows. Prints every #include that is not allowed; fails if there is one.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."

components=$(scripts/components.sh)
wrong=0
while read -r component included; do
    includes=$(git grep -nE '^#include "' -- "$component/*.h" "$component/*.cpp")
    allowed=$(tr ' ' '|' <<<"$component $included")
    grep -vE "#include \"(${allowed%|})/" <<<"$includes" && wrong=1
done <<<"$components"
# The programs must not use internal headers of the library.
git grep -nE '^#include "([^"]*_internal\.h"|tests/)' -- tools examples && wrong=1 ||
    [ $? = 1 ] # git has found no match
exit "$wrong"
