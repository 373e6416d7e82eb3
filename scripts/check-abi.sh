#!/usr/bin/env bash
# Compares the interface of libtsh.so with that of the last release, cmake/libtsh.abi: check-abi.sh.
# Fails if programs built for that release would not work: a name removed, or a type, size or
# parameter changed. Names may be added. After a release: check-abi.sh renew.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."
scripts/install-packages.sh build abigail-tools
build=build/abi baseline=cmake/libtsh.abi
# Some versions of the tools do not support GCC's DWARF 5.
cmake --preset sample -B "$build" -DTSH_BUILD_TOOLS=OFF -DCMAKE_CXX_FLAGS="-gdwarf-4 -O1" >/dev/null
cmake --build "$build" >/dev/null
rm -rf "$build/root"
cmake --install "$build" --component development --prefix "$build/root" >/dev/null
abidw --no-show-locs --no-corpus-path --no-comp-dir-path --headers-dir "$build/root/include" \
    --drop-private-types --exported-interfaces-only --no-elf-needed "$build/libtsh.so" |
    sed "s|$PWD/||" >"$build/libtsh.abi"
case ${1:-} in
renew) cp "$build/libtsh.abi" "$baseline" ;;
'') abidiff --no-added-syms "$baseline" "$build/libtsh.abi" ;;
*)
    echo "check-abi.sh: unknown argument '$1'" >&2
    exit 2
    ;;
esac
