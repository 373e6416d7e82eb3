#!/usr/bin/env bash
# Installs the build into a scratch directory and uses it there:
# install_test.sh BUILD [COMPILER FLAGS]. Every public header compiles on its own, as C and as C++;
# libtsh.so exports exactly what the headers declare; programs outside link to it and run.
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$1" --prefix "$scratch" >/dev/null
"$scratch/bin/ocmd_gen" -s "$1/examples/switch/main.par" | grep -c '  leave$' # without ldconfig
PKG_CONFIG_PATH=$(dirname "$(find "$scratch" -name tsh.pc)")
export PKG_CONFIG_PATH
include=$(pkg-config --variable=includedir tsh)
read -ra flags <<<"${2:-} $(pkg-config --cflags tsh) -Wall -Wextra -Wpedantic -Werror"

for header in $(cd "$include" && find . -name '*.h' -printf '%P\n'); do
    printf '#include "%s"\nextern int alone;\n' "$header" >"$scratch/alone.c"
    cc "${flags[@]}" -std=c11 -fsyntax-only "$scratch/alone.c"
    c++ "${flags[@]}" -std=c++20 -x c++ -fsyntax-only "$scratch/alone.c"
    cat "$scratch/alone.c" >>"$scratch/all.c"
done

# Exported names, from the preprocessed headers.
mark='__attribute__((visibility("default")))'
cc "${flags[@]}" -std=c11 -E -P "$scratch/all.c" | tr '\n' ' ' | tr ';' '\n' | grep -F "$mark" |
    sed -E 's/.*visibility\("default"\)\)\)//; s/[[(].*//; s/.*[ *]//' | sort >"$scratch/declared"
nm -D --defined-only "$(find "$scratch" -name libtsh.so)" |
    awk '$2 != "A" && $3 !~ /^__odr_asan|__llvm_pr/ {sub(/@@TSH_1.0$/, "", $3); print $3}' | sort >"$scratch/exported"
diff "$scratch/declared" "$scratch/exported"

# The page on global names lists the exported variables.
nm -D --defined-only "$(find "$scratch" -name libtsh.so)" |
    awk '$2 ~ /^[BDR]$/ && $3 !~ /^__odr_asan|__llvm_pr/ {sub(/@@.*/, "", $3); print $3}' | sort |
    diff - <(sed -nE 's/^\| `(\w+)` .*/\1/p' "$(dirname "$0")/../doc/globals.md" | sort)

# The example, as a C and as a C++ program of another project, with the CMake package.
mkdir "$scratch/outside"
cp "$scratch"/share/doc/ocmd_gen/examples/resolve.c "$scratch/outside"
cp "$scratch/outside/resolve.c" "$scratch/outside/resolve.cpp"
cat >"$scratch/outside/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.16)
project(outside LANGUAGES C CXX)
find_package(tsh 1 REQUIRED)
foreach(language c cpp)
  add_executable(resolve_${language} resolve.${language})
  target_link_libraries(resolve_${language} PRIVATE tsh::tsh)
endforeach()
CMAKE
cmake -S "$scratch/outside" -B "$scratch/outside/build" -DCMAKE_PREFIX_PATH="$scratch" \
    -DCMAKE_C_FLAGS="${2:-}" -DCMAKE_CXX_FLAGS="${2:-}" >"$scratch/log" &&
    cmake --build "$scratch/outside/build" >>"$scratch/log" || { cat "$scratch/log" && exit 1; }
for language in c cpp; do
    printf '%s\n' 'BENCH TOOLS PEEK b1' 'bench tools ?' |
        "$scratch/outside/build/resolve_$language" "$1/examples/switch/main.par" >"$scratch/resolved"
    diff "$scratch/resolved" - <<'RESOLVED'
bench_peek: bench tools peek 'b1'
  lamp: Let the lamp of a bay blink
  loop: Send what a bay says back to it
  peek: Read a register
RESOLVED
done

# Inside another project: a target, and neither tests nor rules to install.
mkdir "$scratch/inside"
cat >"$scratch/inside/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(inside LANGUAGES C CXX)
enable_testing()
add_subdirectory($(cd "$(dirname "$0")/.." && pwd) tsh)
add_executable(inside resolve.c)
target_link_libraries(inside PRIVATE tsh::tsh)
CMAKE
cp "$scratch/outside/resolve.c" "$scratch/inside"
cmake -S "$scratch/inside" -B "$scratch/inside/build" -DTSH_STATIC_CXX_RUNTIME=OFF >/dev/null
ctest --test-dir "$scratch/inside/build" -N | grep 'Total Tests: 0'
DESTDIR=$scratch/inside/root cmake --install "$scratch/inside/build" >/dev/null
[ ! -e "$scratch/inside/root" ]

# Functions that a device provides: header and linker list the same ones, and definitions of the program or
# of a library that is loaded before are called.
diff <(sed '1,/^{/d' "$(dirname "$0")/../cmake/preemptible.list" | grep -oE '\w+' | sort) \
    <(tr '\n' ' ' <"$include/tsh/platform/tsh_api.h" | sed 's/.*called://; s/\. \*\/.*//' |
        grep -oE '\w+' | sort)
cat >"$scratch/own.c" <<'C'
#include <parse_tree/byte_order.h>
#include <parse_tree/tree_library.h>
#include <stdio.h>
#include <treelink/sibling_order.h>
int32_t treelink_lexicograph_cmp(const tree_node_t *a, const tree_node_t *b) {
    fprintf(stderr, "%s %s\n", a->name, b->name);
    return 1;
}
void ntoh_array_tree(tree_node_t *nodes, uint32_t unused1, uint32_t unused2) {
    static int calls;
    fprintf(stderr, "array %u %u\n", unused1, unused2);
    tsh_swap_array_order(nodes, calls++ == 0 ? 4 : 1); /* the root file's nodes, then one word */
}
int32_t cycle_check(const tree_node_t *nodes, uint32_t unused1, uint32_t unused2) {
    return nodes[unused1 + unused2].name[0] == 0;
}
void display_array_tree(const tree_node_t *nodes, uint32_t unused1, uint32_t unused2) {
    fprintf(stderr, "tree %s\n", nodes[unused1 + unused2].name);
}
C
cat >"$scratch/main.c" <<'C'
#include <feature/tsh/src/trace.h>
#include <string.h>
#include <treelink/link_driver.h>
int main(void) {
    static par_file_list_t list = {.last_index = 1};
    strcpy(list.entries[0].file_name, "b");
    strcpy(list.entries[1].file_name, "c");
    verbose = 1;
    return update_main_parse_tree_file(&list, "root.par", "main.par", 0);
}
C
cd "$scratch"
printf 'words: {top: {name: top}}\n' >root.yaml
printf 'below: top\nwords: {b: end}\n' >b.yaml
printf 'below: top\nwords: {c: end}\n' >c.yaml
bin/ocmd_compile root.yaml b.yaml c.yaml
read -ra link < <(pkg-config --libs tsh)
cc "${flags[@]}" main.c own.c "${link[@]}" -o device
cc "${flags[@]}" -fPIC -shared own.c -o own.so
cc "${flags[@]}" main.c "${link[@]}" -o program
LD_LIBRARY_PATH=$(dirname "$PKG_CONFIG_PATH")
export LD_LIBRARY_PATH ASAN_OPTIONS=verify_asan_link_order=0
printf 'array 0 0\narray 0 0\narray 0 0\ntop.c top.b\ntree root\n' >expected
./device 2>&1 >/dev/null | diff - expected
LD_PRELOAD=./own.so ./program 2>&1 >/dev/null | diff - expected
