#!/usr/bin/env bash
# Measures test coverage: coverage.sh [CTEST ARGUMENTS...]. Builds the preset "coverage", runs all tests
# (or those selected by the arguments), and prints the line and branch coverage of each component. Writes
# the gaps to build/coverage/gaps.txt. Exits with status 1 below the bounds.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."
scripts/install-packages.sh build tests clang llvm
build=build/coverage
cmake --preset coverage >/dev/null
cmake --build --preset coverage
rm -rf "$build/profiles"
ctest --preset coverage -j "$(nproc)" "$@"

# Each program and library has its own counters, in a file that all its processes share.
llvm-profdata merge -o "$build/tests.profdata" "$build"/profiles/*.profraw
programs=()
while read -r program; do
    programs+=(-object "$program")
done < <(find "$build/bin" "$build/tests" -type f -executable \( -name '*_test' -o -name 'ocmd_*' \))
llvm-cov export -instr-profile "$build/tests.profdata" "$build/libtsh.so" "${programs[@]}" |
    scripts/coverage-report.py "$build/gaps.txt"
