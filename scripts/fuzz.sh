#!/usr/bin/env bash
# Builds the fuzz targets and runs each for a while, from its seeds and with its dictionary. What it
# finds grows in build/fuzz/corpus; inputs that fail are left in build/fuzz.
#
# Usage: scripts/fuzz.sh [seconds, default 60] [subject ...]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift || true

scripts/install_packages.sh clang libclang-rt-14-dev
cmake --preset fuzz
cmake --build --preset fuzz
subjects=("$@")
if [ $# = 0 ]; then
    mapfile -t subjects < <(find fuzz -name '*_fuzz.cpp' -printf '%f\n' | sed 's/_fuzz.cpp$//' | sort)
fi
for subject in "${subjects[@]}"; do
    echo "== $subject, $seconds s"
    mkdir -p "build/fuzz/corpus/$subject"
    words=()
    if [ -e "fuzz/dictionaries/$subject.dict" ]; then
        words=(-dict="fuzz/dictionaries/$subject.dict")
    fi
    "build/fuzz/fuzz/${subject}_fuzz" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
        -print_final_stats=1 -verbosity=0 "${words[@]}" -artifact_prefix="build/fuzz/$subject-" \
        "build/fuzz/corpus/$subject" "fuzz/seeds/$subject"
done
