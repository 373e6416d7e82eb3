#!/usr/bin/env bash
# Installs the 32-bit x86 compiler support and libraries. If 32-bit
# programs do not run or the libraries cannot be installed, restores the package architectures and fails.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")"

fail() {
    echo "$1" >&2
    exit 1
}

./install-packages.sh i386 || fail "no 32-bit compiler support"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
echo 'int main(void) { return 0; }' >"$scratch/probe.c"
cc -m32 "$scratch/probe.c" -o "$scratch/probe"
"$scratch/probe" 2>/dev/null || fail "32-bit programs do not run here"

added=
if ! dpkg --print-foreign-architectures | grep -qx i386; then
    ./as-root.sh dpkg --add-architecture i386
    added=yes
fi
./install-packages.sh zlib1g-dev:i386 libglib2.0-dev:i386 libyaml-dev:i386 \
    libedit-dev:i386 || {
    if [ -n "$added" ]; then
        ./as-root.sh dpkg --remove-architecture i386
        ./as-root.sh apt-get update -qq
    fi
    fail "the 32-bit libraries cannot be installed"
}
