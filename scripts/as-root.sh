#!/usr/bin/env bash
# Runs a command as root, with sudo if necessary: as-root.sh COMMAND... Prints its output only if it
# fails.
set -euo pipefail
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    as_root=(sudo)
    command -v sudo >/dev/null || { echo "only root can do this, and there is no sudo" >&2; exit 1; }
fi
log=$(mktemp)
trap 'rm -f "$log"' EXIT
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive "$@" >"$log" 2>&1 || {
    status=$?
    cat "$log" >&2
    exit "$status"
}
