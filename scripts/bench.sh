#!/usr/bin/env bash
# Builds and runs the benchmarks beside their peers and prints medians of nine runs, taken in turn so
# that a slow moment of the machine hits both sides. Only ratios within one run mean something.
#
# Usage: scripts/bench.sh [subject ...]
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install_packages.sh libbenchmark-dev libspdlog-dev libfmt-dev libicu-dev libinih-dev \
    libglib2.0-dev libbotan-2-dev libcurl4-openssl-dev libtinyxml2-dev rapidjson-dev \
    nlohmann-json3-dev libeac-dev libmicrohttpd-dev ca-certificates opensc-pkcs11 softhsm2
cmake --preset bench
cmake --build --preset bench
subjects=("$@")
if [ $# = 0 ]; then
    mapfile -t subjects < <(find benchmarks -name '*_bench.cpp' -printf '%f\n' |
        sed 's/_bench.cpp$//' | sort)
fi
for subject in "${subjects[@]}"; do
    echo "== $subject"
    "build/bench/benchmarks/${subject}_bench" --benchmark_repetitions=9 --benchmark_min_time=0.05 \
        --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true 2>&1 |
        grep -E '_median|^Benchmark'
done
