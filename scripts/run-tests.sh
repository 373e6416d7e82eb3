#!/usr/bin/env bash
# Installs what the tests need, builds everything and runs all tests.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-packages.sh g++ cmake ninja-build pkg-config zlib1g-dev libglib2.0-dev googletest
cmake --preset default
cmake --build --preset default
ctest --preset default
