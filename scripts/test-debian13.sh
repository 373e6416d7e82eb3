#!/usr/bin/env bash
# Builds and runs all tests in a Debian 13 of its own (test-in-root.sh): test-debian13.sh [FOLDER].
# Ends with status 0 when all is well, 1 when not, and 77 where there can be no such system.
set -euo pipefail
unset CDPATH
[ $# -eq 0 ] || set -- "$(realpath -m "$1")"
cd "$(dirname "$0")/.."
scripts/test-in-root.sh trixie "$(dpkg --print-architecture)" "${1:-build/roots/trixie}" \
    scripts/run-tests.sh
