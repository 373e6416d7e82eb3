#!/usr/bin/env bash
# Builds the reference of libtsh, man pages of section 3 in build/reference/man, from the docstrings of the
# public headers. Fails if Doxygen reports a warning, such as a name without a docstring.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."
scripts/install-packages.sh doxygen
components=$(scripts/components.sh --public)
rm -rf build/reference
mkdir -p build/reference
headers=$(while read -r component _; do
    git ls-files "$component/*.h" ":!*_internal.h"
done <<<"$components")
{
    cat doc/Doxyfile
    echo "INPUT = ${headers//$'\n'/ }"
    echo "OUTPUT_DIRECTORY = build/reference"
} | doxygen -
