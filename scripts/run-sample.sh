#!/usr/bin/env bash
# Installs what the build needs, builds, and lists the commands of the sample tree.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-packages.sh g++ cmake ninja-build pkg-config zlib1g-dev libglib2.0-dev
cmake --preset sample
cmake --build --preset sample
build/default/cmd_gen/ocmd_gen -s build/default/examples/sample.par
