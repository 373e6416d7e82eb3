#!/usr/bin/env bash
# Checks the format of everything in C++ with clang-format and all of it but the fuzzers, which this
# build knows nothing of, with clang-tidy.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."
scripts/install-packages.sh build tests lint
git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run -Werror
folders=$(scripts/components.sh | cut -d ' ' -f 1 | tr '\n' '|')tools|examples
cmake --preset default -B build/lint -DTSH_BUILD_BENCH=ON >/dev/null
git ls-files '*.cpp' ':!fuzz' | xargs -P "$(nproc)" -n 2 \
    clang-tidy --quiet -p build/lint --header-filter="/($folders)/.*\.h$" 2>/dev/null
