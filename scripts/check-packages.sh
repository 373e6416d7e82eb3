#!/usr/bin/env bash
# Builds the Debian packages in build/packages, and fails if lintian finds errors in them.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."
scripts/install-packages.sh build lintian
cmake --preset sample >/dev/null
cmake --build --preset sample
rm -rf build/packages
cpack --config build/sample/CPackConfig.cmake -B build/packages
options=(--fail-on error)
[ "$(id -u)" != 0 ] || options+=(--allow-root)
lintian "${options[@]}" build/packages/*.deb
