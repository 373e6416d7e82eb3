#!/usr/bin/env bash
# Prints the components of the library, one per line: DIRECTORY INCLUDED_DIRECTORY...; with --public, only
# those that install headers.
set -euo pipefail
unset CDPATH
sed -nE "/^tsh_component\(/!d; ${1:+/ INTERNAL\>/d;} s/.*\((.*)\)\$/\1/
    s/ (INTERNAL|INCLUDES|TOPIC [a-z]+)\>//g; p" "$(dirname "$0")/../cmake/components.cmake"
