#!/usr/bin/env bash
# Installs missing Debian packages: install-packages.sh NAME..., where NAME is a package or one of
# the groups below. Without root or sudo, prints the command that root has to run, and fails.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")"
declare -A group=(
    [build]="g++ cmake ninja-build pkg-config zlib1g-dev libglib2.0-dev libyaml-dev libedit-dev"
    [tests]="git googletest python3-jsonschema python3-yaml python3-pexpect dpkg-dev file parallel"
    [browser]="chromium chromium-driver python3-selenium"
    [lint]="libbenchmark-dev clang-format clang-tidy"
    [clang]="clang libclang-rt-dev"
    [i386]="gcc-multilib g++-multilib"
    [release]="git lintian doxygen abigail-tools"
)
missing=()
for name in "$@"; do
    for package in ${group[$name]:-$name}; do
        dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null | grep -q '^.i' ||
            missing+=("$package")
    done
done
[ ${#missing[@]} -eq 0 ] && exit 0
install=(apt-get install -y --no-install-recommends "${missing[@]}")
if ! ./as-root.sh true; then
    printf 'Run this as root first:\n  %s\n' "${install[*]}" >&2
    exit 1
fi
echo "installing ${#missing[@]} packages: ${missing[*]}" >&2
./as-root.sh apt-get update -qq || echo "some package lists are out of date" >&2
./as-root.sh "${install[@]}"
