#!/usr/bin/env bash
# Installs the build into a scratch folder and uses it as a stranger would:
# install_test.sh BUILD [COMPILER FLAGS]. Every public header compiles on its own, as C and as C++;
# libtsh.so exports exactly what the headers declare; programs outside link to it and run.
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
nm -D --defined-only "$(find "$scratch" -name libtsh.so)" |
    awk '$3 !~ /^__odr_asan|__llvm_pr/ {print $3}' | sort >"$scratch/exported"
diff "$scratch/declared" "$scratch/exported"

# The example, as a C and as a C++ program of a project outside, by the CMake package.
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
    "$scratch/outside/build/resolve_$language" "$1/examples/switch/main.par" 'BENCH TOOLS' |
        diff - <(printf 'tools  What the bench is equipped with\n    lamp  %s\n    loop  %s\n    peek  %s\n' \
            'Let the lamp of a bay blink' 'Send what a bay says back to it' 'Read a register')
done
