#!/usr/bin/env bash
# Builds and runs all tests on 32-bit x86, in a separate Debian 12 (test-in-root.sh), and compares its trees
# and listings with those of the host's build, byte for byte: test-i386.sh [DIRECTORY]. Exit status: 0 on
# success, 1 on failure, 77 if no such system can be created.
set -euo pipefail
unset CDPATH
[ $# -eq 0 ] || set -- "$(realpath -m "$1")"
cd "$(dirname "$0")/.."
folder=${1:-build/roots/bookworm-i386}
scripts/test-in-root.sh bookworm i386 "$folder" \
    sh -ec 'scripts/run-tests.sh; scripts/write-listings.sh build/default build/listings'
scripts/install-packages.sh build tests
cmake --preset default >/dev/null
cmake --build --preset default --target ocmd_gen ocmd_link ocmd_compile ocmd_show
scripts/write-listings.sh build/default build/listings
diff -r build/listings "$folder/clone/build/listings"
echo "the trees and listings of the 32-bit build equal those of the host"
