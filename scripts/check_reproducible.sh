#!/usr/bin/env bash
# Builds the checked-out commit twice, in folders of different names, and compares the shared
# objects byte for byte. Changes that are not committed do not take part.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

export SOURCE_DATE_EPOCH
SOURCE_DATE_EPOCH=$(git -C "$root" log -1 --format=%ct)
for folder in one another/deeper/one; do
    git clone --quiet "$root" "$work/$folder"
    (
        cd "$work/$folder"
        cmake --preset release -DQORVS_USE_CCACHE=OFF >/dev/null
        cmake --build --preset release --target qorvscommon >/dev/null
        sha256sum build/release/lib/libqorvscommon.so
    )
done
cmp "$work"/{one,another/deeper/one}/build/release/lib/libqorvscommon.so
echo "the same bytes"
