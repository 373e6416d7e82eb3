#!/usr/bin/env bash
# Installs the Debian packages that a piece of work needs and that are missing:
# install-packages.sh NAME..., where a name is one of the groups below or a package.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")"
declare -A group=(
    [build]="g++ cmake ninja-build pkg-config zlib1g-dev libglib2.0-dev libyaml-dev"
    [tests]="googletest python3-jsonschema python3-yaml dpkg-dev file"
    [lint]="git libbenchmark-dev clang-format clang-tidy"
    [clang]="clang libclang-rt-dev"
    [i386]="gcc-multilib g++-multilib"
)
missing=()
for name in "$@"; do
    for package in ${group[$name]:-$name}; do
        dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null | grep -q '^.i' ||
            missing+=("$package")
    done
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "missing packages: ${missing[*]}" >&2
./as-root.sh true # or the lists would be said to be out of date
./as-root.sh apt-get update -qq || echo "some package lists are out of date" >&2
./as-root.sh apt-get install -y -qq --no-install-recommends "${missing[@]}"
