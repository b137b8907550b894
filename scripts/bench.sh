#!/usr/bin/env bash
# Builds the benchmarks and runs them, ours and the peers in the same run: medians of nine repetitions.
# Usage: scripts/bench.sh [NAME...]      NAME is an executable's, such as bench_strings; all of them by default.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/packages.sh
install_packages "${KORVALE_BUILD_PACKAGES[@]}" "${KORVALE_BENCHMARK_PACKAGES[@]}"

mkdir -p build
cmake --preset linux-bench > /dev/null
cmake --build --preset linux-bench --target benchmarks korvale
names=( "$@" )
[ ${#names[@]} -gt 0 ] || mapfile -t names < <(cd build/linux-bench/bin && ls -d bench_*)
for name in "${names[@]}"; do
  "build/linux-bench/bin/$name" --benchmark_repetitions=9 --benchmark_report_aggregates_only=true \
    --benchmark_enable_random_interleaving=true | grep -E '_median|^Benchmark'
done
