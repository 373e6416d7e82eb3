#!/usr/bin/env bash
# Runs README's first commands in a Debian 13 of its own (test-in-root.sh): test-debian13.sh
# [FOLDER]. Exit status: 0 if all is well, 1 if not, 77 if there can be no such system.
set -euo pipefail
unset CDPATH
[ $# -eq 0 ] || set -- "$(realpath -m "$1")"
cd "$(dirname "$0")/.."
scripts/test-in-root.sh trixie "$(dpkg --print-architecture)" "${1:-build/roots/trixie}" \
    sh -ec 'scripts/run-sample.sh; scripts/run-tests.sh'
