#!/usr/bin/env bash
# Checks the format of all C++ code with clang-format, and all of it except the fuzzers with
# clang-tidy: lint.sh. Parts of that: lint.sh format; lint.sh since COMMIT (clang-tidy of the files
# that changed since, or of all files if there is no such commit).
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."
scripts/install-packages.sh build tests lint

check_format() {
    git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run -Werror
}

# tidy FILE...: a configuration that builds everything except the fuzzers, without unity builds.
tidy() {
    local folders
    folders="$(scripts/components.sh | cut -d ' ' -f 1 | tr '\n' '|')tools|examples"
    cmake --preset default -B build/lint -DTSH_BUILD_BENCH=ON -DCMAKE_UNITY_BUILD=OFF >/dev/null
    printf '%s\0' "$@" | xargs -0 -P "$(nproc)" -n 2 \
        clang-tidy --quiet -p build/lint --header-filter="/($folders)/.*\.h$" 2>/dev/null
}

mapfile -t all < <(git ls-files '*.cpp' ':!fuzz')
[ ${#all[@]} -gt 0 ]
case ${1:-all} in
all)
    check_format
    tidy "${all[@]}"
    ;;
format) check_format ;;
since)
    if git rev-parse --quiet --verify "$2^{commit}" >/dev/null; then
        mapfile -t all < <(git diff --name-only --diff-filter=d "$2" -- '*.cpp' ':!fuzz')
    fi
    [ ${#all[@]} -eq 0 ] || tidy "${all[@]}"
    ;;
*)
    echo "lint.sh: unknown part '$1'" >&2
    exit 2
    ;;
esac
