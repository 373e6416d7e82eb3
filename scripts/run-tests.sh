#!/usr/bin/env bash
# Installs the test dependencies, builds everything and runs all tests.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."
scripts/install-packages.sh build tests
[ -d build/default ] || echo "building and testing: some minutes" >&2
cmake --preset default
cmake --build --preset default
ctest --preset default -j "$(nproc)"
