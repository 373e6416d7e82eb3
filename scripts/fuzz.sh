#!/usr/bin/env bash
# Builds fuzzers and runs them, one per CPU at a time, on their seeds and their earlier findings
# (build/fuzz/FUZZER.found): fuzz.sh SECONDS [FUZZER...]; by default all of them. Prints the executions and
# the coverage of each. Fails if a fuzzer finds an error, which is printed, or if no input reaches a
# function that the file head names after "Reaches:".
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."
export seconds=$1
shift
[ $# -gt 0 ] || set -- $(basename -s .cpp fuzz/*_fuzz.cpp)
scripts/install-packages.sh build clang llvm # whose symbolizer names functions
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target fuzz_seeds "$@"

# fault FUZZER LOG: prints the end of a failed log, and the output of the input that failed.
fault() {
    local input
    echo "$1 failed:"
    tail -n 60 "$2"
    input=$(sed -n 's/.*Test unit written to //p' "$2")
    [ -z "$input" ] || "build/fuzz/fuzz/$1" "$input" 2>&1 | head -n 20 || true
}

# missed FUZZER LOG: prints the functions of the file head that the log does not contain as reached.
missed() {
    local functions function
    functions=$(awk '!/^\/\// { exit }
                     sub("// Reaches:", "//") { named = 1 }
                     named { print substr($0, 3) }' "fuzz/$1.cpp" | tr -d ,)
    for function in ${functions:-what_it_names}; do
        grep -Eq "^COVERED_FUNC: hits: [0-9]+ edges: [0-9/]+ $function[( ]" "$2" || echo "$function"
    done
}

# stat_of NAME LOG: prints a statistic from the end of a run.
stat_of() { sed -n "s/^stat::$1: *//p" "$2"; }

fuzz() {
    local name=$1 log=build/fuzz/$1.log reached=build/fuzz/$1.reached missing
    local corpus=("build/fuzz/$name.found" "build/fuzz/fuzz/${name}_seeds")
    mkdir -p "${corpus[@]}"
    run() { "build/fuzz/fuzz/$name" -close_fd_mask=3 "$@" "${corpus[@]}"; }
    run -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
        -artifact_prefix="build/fuzz/$name." >"$log" 2>&1 || { fault "$name" "$log"; return 1; }
    run -runs=0 -print_coverage=1 >"$reached" 2>&1 || { fault "$name" "$reached"; return 1; }
    printf '%-18s%10d executions, %6d in a second, %6d edges\n' "$name" \
        "$(stat_of number_of_executed_units "$log")" "$(stat_of average_exec_per_sec "$log")" \
        "$(sed -n 's/.*DONE *cov: \([0-9]*\).*/\1/p' "$reached")"
    missing=$(missed "$name" "$reached")
    [ -z "$missing" ] || { printf "$name no longer reaches %s\n" $missing; return 1; }
}

export -f fault missed stat_of fuzz
printf '%s\n' "$@" | xargs -P "$(nproc)" -I FUZZER bash -euo pipefail -c 'fuzz FUZZER'
