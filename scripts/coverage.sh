#!/usr/bin/env bash
# Runs the tests with line counters and prints the coverage of src/common, file by file; needs gcovr.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset coverage
cmake --build --preset coverage
find build/coverage -name '*.gcda' -delete
ctest --preset coverage
gcovr --root . --filter src/common --exclude-throw-branches --print-summary build/coverage
