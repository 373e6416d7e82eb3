#!/usr/bin/env bash
# Checks that the commit can be released and tags it vVERSION, the version of CMakeLists.txt:
# release.sh. Run .ci/run and .ci/nightly before.
set -euo pipefail
unset CDPATH
cd "$(dirname "$0")/.."
refuse() {
    echo "release.sh: $1" >&2
    exit 1
}

version=$(sed -nE 's/^project\(.* VERSION ([0-9.]+) .*/\1/p' CMakeLists.txt)
tag=v$version
[[ $version =~ ^[0-9]+\.[0-9]+\.[0-9]+$ ]] || refuse "invalid version '$version' in CMakeLists.txt"
[ -z "$(git status --porcelain)" ] || refuse "uncommitted changes"
! git rev-parse --quiet --verify "refs/tags/$tag" >/dev/null || refuse "$tag exists"
newest=$({ git tag --list 'v*' && echo "$tag"; } | sort -V | tail -n 1)
[ "$newest" = "$tag" ] || refuse "$tag is older than $newest"
grep -qx "## $version" CHANGELOG.md || refuse "CHANGELOG.md has no section '## $version'"
git tag -a -m "Version $version" "$tag"
echo "$tag"
