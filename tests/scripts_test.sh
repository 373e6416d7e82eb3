#!/usr/bin/env bash
# Tests the scripts: scripts_test.sh. If packages cannot be installed, install-packages.sh names them, prints
# the output of the package manager, and fails; substitutes replace the programs involved. A script finds
# its own directory and its caller's, and checks nothing without git.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
for program in bash cat dirname env grep mktemp rm; do
    ln -s "$(command -v $program)" "$scratch"
done
cp -r scripts "$scratch"
export CDPATH=$scratch

stand_in() { printf '#!/bin/sh\n%s\n' "$2" >"$scratch/$1" && chmod +x "$scratch/$1"; }
# refused TEXT: checks that installing a package fails with this text.
refused() {
    if PATH=$scratch scripts/install-packages.sh clang no-such &>"$scratch/said"; then exit 1; fi
    diff "$scratch/said" <(printf '%b\n' "$1")
}

stand_in dpkg-query '[ "$3" = clang ] && echo "hi "'
stand_in id 'echo 1000'
refused "only root can do this, and there is no sudo
Run this as root first:
  apt-get install -y --no-install-recommends libclang-rt-dev no-such"
stand_in id 'echo 0'
stand_in true ''
stand_in apt-get 'echo "E: $1"; exit 100'
refused "installing 2 packages: libclang-rt-dev no-such
E: update
some package lists are out of date
E: install"

if GIT_DIR=$scratch scripts/check-dependencies.sh 2>/dev/null; then exit 1; fi
if (cd "$scratch/scripts" && ./write-listings.sh . scripts 2>/dev/null); then exit 1; fi
[ -f "$scratch/scripts/lint.sh" ]

# A release is tagged once, with the version of CMakeLists.txt and a section in CHANGELOG.md.
repository=$scratch/repository
mkdir -p "$repository/scripts"
cp scripts/release.sh "$repository/scripts"
cd "$repository"
git init -q
git config user.name tester
git config user.email tester@example.org
echo 'project(ocmd_gen VERSION 1.2.0 LANGUAGES C CXX)' >CMakeLists.txt
echo '## 1.2.0 (not released yet)' >CHANGELOG.md
commit() { git add . && git commit -qm "$1"; }
release() { scripts/release.sh 2>&1 || true; }
[ "$(release)" = "release.sh: uncommitted changes" ]
commit first
[ "$(release)" = "release.sh: CHANGELOG.md has no section '## 1.2.0'" ]
echo '## 1.2.0' >CHANGELOG.md
commit second
[ "$(release)" = v1.2.0 ]
[ "$(git tag)" = v1.2.0 ]
[ "$(release)" = "release.sh: v1.2.0 exists" ]
