#!/usr/bin/env bash
# Runs the tests with line counters and prints the coverage of src/common, file by file.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install_packages.sh gcovr
cmake --preset coverage
cmake --build --preset coverage
find build/coverage -name '*.gcda' -delete
ctest --preset coverage
gcovr --root . --filter src/common --exclude-throw-branches --print-summary build/coverage
