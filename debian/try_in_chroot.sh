#!/bin/bash
# Installs the built packages in a fresh Debian and uses them there as an ordinary user, as debian/tests does.
#   try_in_chroot.sh FOLDER     of the packages
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
folder=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/sources/examples/data" "$work/packages"
cp -r --parents debian/tests tests/outside "$work/sources"
cp examples/data/81001_stk.e "$work/sources/examples/data"
find "$folder" -maxdepth 1 -name '*.deb' ! -name '*-dbgsym_*' -exec cp -t "$work/packages" {} +
kinds="c cpp fortran tool"
[ -z "$(find "$work/packages" -name 'python3-vorlandi_*')" ] || kinds+=" python"

# Package sources are the same as on this machine.
lists=/etc/apt/sources.list.d/debian.sources
[ -e $lists ] || lists=/etc/apt/sources.list
# shellcheck disable=SC2016  # $1 is mmdebstrap's: the folder of the new system
if ! mmdebstrap --mode=root --variant=apt \
    --include=gcc,g++,gfortran,libc6-dev,cmake,make,pkg-config,man-db \
    --customize-hook="copy-in $work/packages $work/sources /srv" \
    --customize-hook='chroot "$1" sh -c "apt-get install -y -q --no-install-recommends /srv/packages/*.deb"' \
    --customize-hook='chroot "$1" useradd --create-home user' \
    --customize-hook="for kind in $kinds; do"' chroot "$1" su - user -c "cd /srv/sources && debian/tests/try $kind" ||
        exit 1; done' \
    bookworm /dev/null $lists >"$folder/chroot.log" 2>&1; then
    tail -20 "$folder/chroot.log" >&2
    echo "try_in_chroot.sh: failed as above; the log is $folder/chroot.log. Making the chroot takes root and a mirror" \
        "that $lists names" >&2
    exit 1
fi
for kind in $kinds; do grep -x "$kind: answers" "$folder/chroot.log"; done
