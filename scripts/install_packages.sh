#!/usr/bin/env bash
# Installs the named Debian packages that are missing, with sudo when not root.
#
# Usage: scripts/install_packages.sh package ...
set -euo pipefail

missing=()
for package in "$@"; do
    status=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
    if [ "$status" != installed ]; then
        missing+=("$package")
    fi
done
if [ ${#missing[@]} = 0 ]; then
    exit 0
fi

as_root=()
if [ "$(id -u)" != 0 ]; then
    as_root=(sudo)
fi
echo "Installing ${missing[*]}"
"${as_root[@]}" apt-get -qq update
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get -qq install --yes --no-install-recommends "${missing[@]}" </dev/null
