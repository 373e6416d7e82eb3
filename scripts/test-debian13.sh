#!/usr/bin/env bash
# Runs README's first commands in a separate Debian 13 (test-in-root.sh): test-debian13.sh [DIRECTORY].
# Exit status: 0 on success, 1 on failure, 77 if no such system can be created.
set -euo pipefail
unset CDPATH
[ $# -eq 0 ] || set -- "$(realpath -m "$1")"
cd "$(dirname "$0")/.."
scripts/test-in-root.sh trixie "$(dpkg --print-architecture)" "${1:-build/roots/trixie}" \
    sh -ec 'scripts/run-sample.sh; scripts/run-tests.sh'
