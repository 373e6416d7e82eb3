#!/usr/bin/env bash
# Installs the 32-bit x86 compiler support and libraries. Fails, with the package architectures as
# they were, where 32-bit programs do not run or the libraries cannot be installed.
set -euo pipefail
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
export DEBIAN_FRONTEND=noninteractive

fail() {
    echo "$1" >&2
    exit 1
}

"$(dirname "$0")/install-packages.sh" gcc-multilib g++-multilib || fail "no 32-bit compiler support"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
echo 'int main(void) { return 0; }' >"$scratch/probe.c"
cc -m32 "$scratch/probe.c" -o "$scratch/probe"
"$scratch/probe" 2>/dev/null || fail "32-bit programs do not run here"

added=
if ! dpkg --print-foreign-architectures | grep -qx i386; then
    "${as_root[@]}" dpkg --add-architecture i386
    added=yes
fi
if ! { "${as_root[@]}" apt-get update -qq &&
    "${as_root[@]}" apt-get install -y -qq --no-install-recommends zlib1g-dev:i386 \
        libglib2.0-dev:i386; } >/dev/null 2>&1; then
    if [ -n "$added" ]; then
        "${as_root[@]}" dpkg --remove-architecture i386
        "${as_root[@]}" apt-get update -qq
    fi
    fail "the 32-bit libraries cannot be installed"
fi
