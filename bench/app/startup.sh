#!/usr/bin/env bash
# Times the whole program from start to the main menu on a device with 1,000 lists and 100,000
# trees, and its peak memory. Usage: startup.sh BUILD_DIR [RUNS]
set -euo pipefail
build=${1:?build folder with brovant and startup_bench}
runs=${2:-9}
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
"$build/bench/startup_bench" --make-root "$root"
export QT_QPA_PLATFORM=offscreen
times=()
for ((i = 0; i < runs; i++)); do
    start=$(date +%s%N)
    "$build/brovant" --root "$root" --exit-after-start 2>/dev/null
    end=$(date +%s%N)
    times+=($(((end - start) / 1000000)))
done
sorted=($(printf '%s\n' "${times[@]}" | sort -n))
echo "start to main menu (whole process), ms: median ${sorted[$((runs / 2))]}, min ${sorted[0]}, max ${sorted[-1]}"
if [[ -x /usr/bin/time ]]; then
    /usr/bin/time -v "$build/brovant" --root "$root" --exit-after-start 2>&1 >/dev/null |
        grep -E 'Maximum resident set size'
fi
