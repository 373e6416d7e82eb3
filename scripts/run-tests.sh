#!/usr/bin/env bash
# Installs what the tests need, builds everything and runs all tests.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."
scripts/install-packages.sh build tests
cmake --preset default
cmake --build --preset default
ctest --preset default
