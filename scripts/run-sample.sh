#!/usr/bin/env bash
# Installs what the build needs, builds, and lists the commands of the example, a switch.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."
scripts/install-packages.sh build
cmake --preset sample
cmake --build --preset sample
build/sample/bin/ocmd_gen -s build/sample/examples/switch/main.par
