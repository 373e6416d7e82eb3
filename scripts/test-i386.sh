#!/usr/bin/env bash
# Builds and runs all tests on 32-bit x86, in a Debian 12 of its own (test-in-root.sh), and compares
# what is made of trees there with what this machine's build makes of them, byte for byte:
# test-i386.sh [FOLDER]. Ends with status 0 when all is well, 1 when not, and 77 where there can be
# no such system.
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
echo "the trees and listings of 32 bits are those of this machine"
