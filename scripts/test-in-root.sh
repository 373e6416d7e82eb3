#!/usr/bin/env bash
# Runs a command in a copy of this clone's tracked files inside another Debian system:
# test-in-root.sh SUITE ARCHITECTURE DIRECTORY COMMAND... debootstrap creates the system in the directory
# once; later runs use it again. Exits with status 1 if the command fails, 77 if no such system can be
# created.
set -euo pipefail
unset CDPATH
suite=$1 architecture=$2 folder=$(realpath -m "$3")
shift 3
cd "$(dirname "$0")/.."

cannot() {
    echo "no $suite for $architecture here: $1" >&2
    exit 77
}

# Mounts and processes of the other system are in separate namespaces, which end with this script in any
# case.
if [ "${TSH_IN_NAMESPACE:-}" != yes ]; then
    [ "$(id -u)" = 0 ] || cannot "only root can change into it"
    scripts/install-packages.sh debootstrap || cannot "debootstrap cannot be installed"
    namespace=(unshare --mount --pid --fork --kill-child)
    "${namespace[@]}" true || cannot "this system lets nobody mount"
    TSH_IN_NAMESPACE=yes exec "${namespace[@]}" scripts/test-in-root.sh "$suite" "$architecture" \
        "$folder" "$@"
fi

if [ ! -d "$folder" ]; then
    unfinished=$folder.unfinished
    rm -rf "$unfinished"
    mkdir -p "$unfinished"
    debootstrap --arch="$architecture" --variant=minbase "$suite" "$unfinished" >"$folder.log" 2>&1 || {
        tail -n 5 "$folder.log" >&2
        cannot "debootstrap failed, as $folder.log tells"
    }
    echo force-unsafe-io >"$unfinished/etc/dpkg/dpkg.cfg.d/unsafe-io" # faster; the system is disposable
    mv -T "$unfinished" "$folder"
fi

# Uses the network configuration of the host.
cp /etc/resolv.conf "$folder/etc/resolv.conf"
apt-config dump | grep -iE '^Acquire::(http|https)::Proxy ' >"$folder/etc/apt/apt.conf.d/80proxy" || true
mount -t proc proc "$folder/proc"
mount --rbind /dev "$folder/dev"

# Keeps the build directories for the next run.
mkdir -p "$folder/clone"
find "$folder/clone" -mindepth 1 -maxdepth 1 ! -name build -exec rm -rf {} +
git ls-files -z | tar --null -T - --ignore-failed-read -c | tar -x -C "$folder/clone" --no-same-owner
rm -rf "$folder/history"
git clone -q --no-checkout . "$folder/history" # for scripts that ask git
mv "$folder/history/.git" "$folder/clone"
git -C "$folder/clone" reset -q

# Passes nothing of the environment except the proxy settings.
settings=(PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8
    CTEST_PARALLEL_LEVEL="$(nproc)")
for name in http_proxy https_proxy no_proxy; do
    [ -z "${!name:-}" ] || settings+=("$name=${!name}")
done
machine=()
[ "$architecture" != i386 ] || machine=(linux32) # for uname
env -i "${settings[@]}" "${machine[@]}" chroot "$folder" \
    sh -c 'cd /clone && exec "$@"' sh "$@" || exit 1
