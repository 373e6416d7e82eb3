#!/usr/bin/env bash
# Prints the components of the library, one a line: FOLDER INCLUDED_FOLDER...
set -euo pipefail
unset CDPATH
sed -nE '/^tsh_component\(/ { s/.*\((.*)\)$/\1/; s/ (INTERNAL|INCLUDES)\>//g; p }' \
    "$(dirname "$0")/../cmake/components.cmake"
