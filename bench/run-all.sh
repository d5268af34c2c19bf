#!/usr/bin/env bash
# Runs every benchmark with one command and writes docs/performance.md: a table of medians (p99
# where a benchmark reports it), peak memory of each benchmark process, the goal of each figure
# and the machine it ran on. Usage: bench/run-all.sh [BUILD_DIR]   (default build/bench)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/bench}
scripts/setup.sh
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBROVANT_BENCH=ON -DBROVANT_TESTS=OFF >/dev/null
cmake --build "$build"
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
for bench in "$build"/bench/*_bench; do
    name=$(basename "$bench")
    echo "== $name" >&2
    /usr/bin/time -f '%M' -o "$out/$name.rss" \
        "$bench" --benchmark_repetitions=3 --benchmark_format=json \
        --benchmark_out="$out/$name.json" --benchmark_out_format=json >/dev/null
done
config=$out/config.dtr
"$build/bench/config_import_bench" --write-config "$config" >/dev/null
bench/masterdata/import_vs_sqlite.sh "$build/brovant-tool" "$config" 5 >"$out/import_vs_sqlite.txt"
if [[ -x $build/brovant ]]; then
    bench/app/startup.sh "$build" 9 >"$out/startup.txt"
fi
python3 bench/report.py "$out" >docs/performance.md
echo "written: docs/performance.md" >&2
