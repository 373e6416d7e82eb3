#!/usr/bin/env bash
# Installs the build dependencies, builds all programs into build/sample/bin, and lists the commands of
# the example, a switch.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."
scripts/install-packages.sh build
[ -d build/sample ] || echo "building: about a minute" >&2
cmake --preset sample
cmake --build --preset sample
build/sample/bin/ocmd_gen -s build/sample/examples/switch/main.par
