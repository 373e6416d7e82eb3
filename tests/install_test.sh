#!/usr/bin/env bash
# Installs the build into a scratch folder and uses it as a stranger would:
# install_test.sh BUILD [COMPILER FLAGS]. Every public header compiles on its own, as C and as C++;
# libtsh.so exports exactly what the headers declare; a C program links to it and runs; the
# installed utility runs.
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$1" --prefix "$scratch" >/dev/null
PKG_CONFIG_PATH=$(dirname "$(find "$scratch" -name tsh.pc)")
export PKG_CONFIG_PATH
include=$(pkg-config --variable=includedir tsh)
read -ra flags <<<"${2:-} -I$include -Wall -Wextra -Wpedantic -Werror"

for header in $(cd "$include" && find . -name '*.h' -printf '%P\n'); do
    printf '#include "%s"\nextern int alone;\n' "$header" >"$scratch/alone.c"
    cc "${flags[@]}" -std=c11 -fsyntax-only "$scratch/alone.c"
    c++ "${flags[@]}" -std=c++20 -x c++ -fsyntax-only "$scratch/alone.c"
    cat "$scratch/alone.c" >>"$scratch/all.c"
done

# The names behind each mark, as the preprocessor shows them once macros have made their twins.
mark='__attribute__((visibility("default")))'
cc "${flags[@]}" -std=c11 -E -P "$scratch/all.c" | tr '\n' ' ' | tr ';' '\n' | grep -F "$mark" |
    sed -E 's/.*visibility\("default"\)\)\)//; s/[[(].*//; s/.*[ *]//' | sort >"$scratch/declared"
nm -D --defined-only "$(find "$scratch" -name libtsh.so)" | awk '$3 !~ /^__odr_asan/ {print $3}' |
    sort >"$scratch/exported"
diff "$scratch/declared" "$scratch/exported"

cat >"$scratch/program.c" <<'C'
#include "atnode/walk.h"
#include "bmask/bmask.h"
#include <stdio.h>
int main(void) {
    bmask256_t mask;
    bmask256_set_bit(bmask256_init(&mask), 200);
    printf("%d %d\n", bmask256_first_bit(&mask), stack.atn_stack_top);
    return 0;
}
C
libdir=$(pkg-config --variable=libdir tsh)
cc "${flags[@]}" "$scratch/program.c" -o "$scratch/program" -L"$libdir" -ltsh -Wl,-rpath,"$libdir"
[ "$("$scratch/program")" = "200 0" ]
"$scratch/bin/ocmd_gen" -s "$1/examples/sample.par" | grep -qx '\[    14\]\.  pace  <INTEGER>'
