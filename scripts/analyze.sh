#!/usr/bin/env bash
# Analyses besides those of lint.sh and the sanitizers: analyze.sh [cppcheck] [gcc] [valgrind], all
# three unless told. Prints what they find; the status is 1 when there is something.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."
build=build/analyze
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
findings=0

tell() {
    [ -z "$1" ] && return
    printf '%s\n' "$1"
    findings=1
}

# What is no fault, by the check and the file.
not_faults=(
    # kMaskBits<Mask> - 3 is taken for two comparisons.
    compareBoolExpressionWithInt:bmask/bmask_search.cpp
    # The block is the result, by the other branch of the choice.
    memleak:feature/tsh/src/memory.cpp
    # The call of a lambda's template operator by its name cannot be read.
    syntaxError:parse_tree/tree_check.cpp
    # The names are filled by functions of another file.
    uninitvar:treelink/link_driver.cpp
    # A copy on purpose: the stack that the list lies on grows meanwhile.
    passedByValue:tools/ocmd_show/yaml.cpp
)

analyze_with_cppcheck() {
    scripts/install-packages.sh build cppcheck
    cmake --preset default -B "$build" -DTSH_BUILD_TESTS=OFF >/dev/null
    tell "$(cppcheck --project="$build/compile_commands.json" --std=c++20 -j "$(nproc)" --quiet \
        --enable=warning,performance,portability --template='{file}:{line}: {message} [{id}]' \
        "${not_faults[@]/#/--suppress=}" 2>&1)"
}

# Before release 14 the analyzer knows little of C++: it takes members that a constructor has set
# for uninitialised, what new gives for null, does not see destructors release, and the "this" of a
# lambda without captures is null to it. Those of its checks are left out. The others hold: of
# descriptors, of double release and use after release, of streams, of what signal handlers call.
blind_checks=(use-of-uninitialized-value malloc-leak null-argument null-dereference
    possible-null-dereference)

analyze_with_gcc() {
    scripts/install-packages.sh build
    local flags="-fanalyzer ${blind_checks[*]/#/-Wno-analyzer-}"
    cmake --preset default -B "$build" -DTSH_BUILD_TESTS=OFF -DCMAKE_CXX_FLAGS="$flags" \
        -DCMAKE_COMPILE_WARNING_AS_ERROR=OFF >/dev/null
    cmake --build "$build" --clean-first >"$scratch/built"
    tell "$(grep Wanalyzer "$scratch/built" || true)"
}

# Every process of the tests: they and the programs they run. What programs of the system lose on
# their way is theirs. A test that measures time or memory may fail here, which is no finding. That
# of faults is left out: it looks for leaks itself, in thousands of runs, and filters system calls.
# So is a process that a test ends by SIGTERM, which loses what it has in hand.
analyze_with_valgrind() {
    scripts/install-packages.sh build tests valgrind
    cmake --preset default >/dev/null
    cmake --build --preset default >/dev/null
    find "$PWD/build/default/tests" -name '*_test' ! -name fault_test -type f -print0 |
        xargs -0 -P "$(nproc)" -I '{}' valgrind --trace-children=yes --vgdb=no --leak-check=full \
            --errors-for-leak-kinds=definite --log-file="$scratch/%p.log" '{}' \
            >"$scratch/said" 2>&1 || true
    local faulty
    faulty=$(grep -l 'ERROR SUMMARY: [^0]' "$scratch"/*.log | tr '\n' '\0' |
        xargs -0 -r grep -L 'default action of signal 15' | tr '\n' '\0' |
        xargs -0 -r grep -lE "Command: (ocmd_|$PWD/build)" || true)
    tell "$(printf '%s' "$faulty" | xargs -r -d '\n' cat)"
}

[ $# -gt 0 ] || set -- cppcheck gcc valgrind
for analysis in "$@"; do
    "analyze_with_$analysis"
done
exit "$findings"
