#!/usr/bin/env bash
# Fetches what a fresh Debian system holds, once, for the trial of the Debian packages: build/base-root.tar.
source "$(dirname "$0")/../../script/common.sh"

tar=$root/build/base-root.tar
[ ! -e "$tar" ] || exit 0
system=$(. /etc/os-release && say "$VERSION_CODENAME") # of which the packages' libraries are
mmdebstrap --quiet --variant=essential --include=libstdc++6,libgcc-s1 "$system" "$tar.new.tar" >"$logs/base-root.log" 2>&1 ||
    die "No fresh Debian system could be fetched. Whole log: $logs/base-root.log"
mv "$tar.new.tar" "$tar"
