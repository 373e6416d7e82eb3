#!/usr/bin/env bash
# Installs Debian packages that are missing: install-packages.sh NAME...
set -euo pipefail
missing=()
for name in "$@"; do
    dpkg-query -W -f='${db:Status-Abbrev}' "$name" 2>/dev/null | grep -q '^ii' || missing+=("$name")
done
[ ${#missing[@]} -eq 0 ] && exit 0
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq || echo "some package lists are out of date" >&2
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
