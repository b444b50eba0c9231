#!/usr/bin/env bash
# Formats all C and C++ sources; with --check only tells which lines would change.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=(-i)
if [ "${1:-}" = --check ]; then
    mode=(--dry-run --Werror)
fi
find include src tests examples benchmarks fuzz -type f \
    \( -name '*.h' -o -name '*.cpp' -o -name '*.c' \) -print0 |
    xargs -0 --no-run-if-empty clang-format "${mode[@]}"
