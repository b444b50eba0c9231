#!/usr/bin/env bash
# Compares what a built shared object exports with src/common/exports.map.
#
# Usage: scripts/check_exports.sh [libqorvscommon.so]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
library=${1:-$root/build/release/lib/libqorvscommon.so}

expected=$(sed -e 's,/\*.*\*/,,' "$root/src/common/exports.map" |
    sed -n -e 's/^ *\([A-Za-z_][A-Za-z_0-9]*\); *$/\1/p' | LC_ALL=C sort)
exported=$(nm -D --defined-only --format=posix "$library" | cut -d ' ' -f 1 | LC_ALL=C sort)

if [ "$expected" != "$exported" ]; then
    echo "exports of $library (<) differ from src/common/exports.map (>):" >&2
    diff <(echo "$exported") <(echo "$expected") >&2
    exit 1
fi
echo "$(wc -l <<<"$exported") exports, as listed"
