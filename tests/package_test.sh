#!/usr/bin/env bash
# Builds the Debian packages, unpacks them into an empty root and uses them there: package_test.sh BUILD. Their
# dependencies must be those of the programs.
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cpack --config "$1/CPackConfig.cmake" -B "$scratch" >"$scratch/log" || { cat "$scratch/log" && exit 1; }

depends() { dpkg-deb -f "$scratch/$1"_*.deb Depends; }
depends libtsh1 | grep -E '^libc6 .*libglib2.* zlib1g'
depends libtsh-dev | grep -E '^libtsh1 \(= '
depends ocmd-gen | grep -E '^libtsh1 \(= .*libc6.*libedit2.*libyaml'

root=$scratch/root
for package in libtsh1 ocmd-gen; do
    dpkg-deb -x "$scratch/$package"_*.deb "$root"
done
export LD_LIBRARY_PATH=$root/usr/lib
for program in "$root"/usr/bin/*; do
    name=${program##*/}
    if [ "$name" != ocmd_gen ]; then "$program" --version | grep "^$name "; fi
done
PATH=$root/usr/bin:$PATH "$root"/usr/share/doc/ocmd_gen/examples/switch/make.sh "$scratch/switch"
"$root/usr/bin/ocmd_gen" -s "$scratch/switch/main.par" | grep '  leave$'
[ -e "$root/usr/share/man/man1/ocmd_gen.1.gz" ]
[ -e "$root/usr/share/doc/ocmd-gen/copyright" ]
dpkg-deb -x "$scratch"/libtsh-dev_*.deb "$root"
PKG_CONFIG_PATH=$root/usr/lib/pkgconfig pkg-config --cflags --libs tsh
