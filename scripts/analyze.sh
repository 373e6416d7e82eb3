#!/usr/bin/env bash
# Runs analyses in addition to lint.sh and the sanitizers: analyze.sh [cppcheck] [gcc] [valgrind], by
# default all three. Prints their findings; exits with status 1 if there are any.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."
build=build/analyze
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
findings=0

report() {
    [ -z "$1" ] && return
    printf '%s\n' "$1"
    findings=1
}

# Suppressed findings, by check and file, with the reason.
suppressed=(
    # Template arguments are misread as comparisons.
    compareBoolExpressionWithInt:bmask/bmask_search.cpp
    compareBoolExpressionWithInt:tools/ocmd_sample/random_numbers.h
    internalAstError:parse_tree/record_fields_internal.h
    # Designated initializers, with a parameter of the same name, or as elements of a list.
    selfAssignment:parse_tree/load_error.cpp
    returnDanglingLifetime:tools/ocmd_diff/node_pool.cpp
    # Its own limit.
    cppcheckError:parse_tree/tree.cpp
    # The block belongs to the result, or the list has an element by now.
    memleak:param_reg/types.cpp
    containerOutOfBounds:tools/ocmd_diff/node_pool.cpp
    # A view of the other text.
    mismatchingContainerExpression:base/escape.cpp
    # Compared with the end by the condition before it.
    derefInvalidIterator:tools/ocmd_compile/understand.cpp
    # Null stands for no node; a candidate has one.
    nullPointerRedundantCheck:tools/ocmd_find/json_answer.cpp
    # A character is added to a text.
    incorrectCharBooleanError:tools/ocmd_try/command_shell.cpp
    # The block is the result of the other branch.
    memleak:feature/tsh/src/memory.cpp
    # cppcheck cannot parse the call of a lambda's template operator by name.
    syntaxError:parse_tree/tree_check.cpp
    # Functions of another file initialize the names.
    uninitvar:treelink/link_driver.cpp
    # An intentional copy: the stack that contains the list grows.
    passedByValue:tools/ocmd_show/yaml.cpp
)

analyze_with_cppcheck() {
    scripts/install-packages.sh build cppcheck
    cmake --preset default -B "$build" -DTSH_BUILD_TESTS=OFF -DCMAKE_UNITY_BUILD=OFF >/dev/null
    cmake --build "$build" --target tools/ocmd_show/page_sources.cpp >/dev/null # generated
    report "$(cppcheck --project="$build/compile_commands.json" --std=c++20 -j "$(nproc)" --quiet \
        --enable=warning,performance,portability --template='{file}:{line}: {message} [{id}]' \
        "${suppressed[@]/#/--suppress=}" 2>&1)"
}

# Before release 14, the analyzer does not support C++ well: it assumes that members set by a constructor
# are uninitialized, that the result of new and the "this" of a lambda without captures are null, and that
# destructors release nothing. These checks are disabled. The checks of descriptors, of double release and
# use after release, of streams and of signal handlers are reliable.
disabled_checks=(use-of-uninitialized-value malloc-leak null-argument null-dereference
    possible-null-dereference)

analyze_with_gcc() {
    scripts/install-packages.sh build
    local flags="-fanalyzer ${disabled_checks[*]/#/-Wno-analyzer-}"
    cmake --preset default -B "$build" -DTSH_BUILD_TESTS=OFF -DCMAKE_CXX_FLAGS="$flags" \
        -DCMAKE_COMPILE_WARNING_AS_ERROR=OFF >/dev/null
    cmake --build "$build" --clean-first >"$scratch/built"
    report "$(grep Wanalyzer "$scratch/built" || true)"
}

# Checks every process of the tests. Leaks of system programs are ignored. A test that measures time or
# memory may fail here, which is not a finding. fault_test is excluded: it checks for leaks itself, in
# thousands of runs, and filters system calls. A process that a test ends by SIGTERM is excluded as well,
# because it releases nothing. Two tests do not end here: a closed standard output becomes valgrind's log,
# in which an endless listing finds no error, and valgrind keeps SIGTRAP from programs.
analyze_with_valgrind() {
    scripts/install-packages.sh build tests valgrind
    cmake --preset default >/dev/null
    cmake --build --preset default >/dev/null
    find "$PWD/build/default/tests" -name '*_test' ! -name fault_test -type f -print0 |
        GTEST_FILTER='-Utility.ReportsEveryWriteError:Show.HandlesDeepTreesAndFileErrors' \
            xargs -0 -P "$(nproc)" -I '{}' timeout 3600 valgrind --trace-children=yes --vgdb=no \
            --leak-check=full --errors-for-leak-kinds=definite --log-file="$scratch/%p.log" '{}' \
            >"$scratch/output" 2>&1 || true
    local faulty
    faulty=$(grep -l 'ERROR SUMMARY: [^0]' "$scratch"/*.log | tr '\n' '\0' |
        xargs -0 -r grep -L 'default action of signal 15' | tr '\n' '\0' |
        xargs -0 -r grep -lE "Command: (ocmd_|$PWD/build)" || true)
    report "$(printf '%s' "$faulty" | xargs -r -d '\n' cat)"
}

[ $# -gt 0 ] || set -- cppcheck gcc valgrind
for analysis in "$@"; do
    "analyze_with_$analysis"
done
exit "$findings"
