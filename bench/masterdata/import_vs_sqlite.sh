#!/usr/bin/env bash
# Times the admin tool's configuration import against the plain sqlite3 baseline on the same file
# and prints the medians, their ratio and the import's peak memory. Builds nothing.
#
#   import_vs_sqlite.sh BROVANT_TOOL CONFIG [RUNS]
#
# CONFIG is typically the benchmark's generated file:
#   build/bench/bench/config_import_bench --write-config /tmp/config.dtr
set -euo pipefail

tool=${1:-}
config=${2:-}
runs=${3:-5}
if [[ ! -x $tool || ! -f $config ]]; then
    echo "usage: $0 BROVANT_TOOL CONFIG [RUNS]" >&2
    exit 2
fi
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

median() {
    sort -g | awk '{ v[NR] = $1 }
        END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

# Each run is a whole tool process on a fresh device root: start-up, database creation, staging
# the file, the import and the settings load.
import_times=()
for ((i = 0; i < runs; i++)); do
    root="$work/root$i"
    mkdir "$root"
    start=$EPOCHREALTIME
    if ! "$tool" --root "$root" import-config "$config" >/dev/null 2>"$work/tool.err"; then
        echo "import failed:" >&2
        cat "$work/tool.err" >&2
        exit 1
    fi
    end=$EPOCHREALTIME
    import_times+=("$(awk -v s="$start" -v e="$end" 'BEGIN { printf "%.4f", e - s }')")
    [[ $i -lt $((runs - 1)) ]] && rm -rf "$root"
done
last_root="$work/root$((runs - 1))"

mapfile -t baseline_times < <(
    "$here/sqlite_baseline.sh" --keep "$work/baseline.db" "$config" "$runs")

import_median=$(printf '%s\n' "${import_times[@]}" | median)
baseline_median=$(printf '%s\n' "${baseline_times[@]}" | median)
rows=$(sqlite3 "$last_root/Brovant/Brovant.cdb" "SELECT COUNT(*) FROM Brov_Einstellungen")

echo "file:             $config ($(wc -l <"$config") lines, $rows master rows)"
echo "import runs (s):  ${import_times[*]}"
echo "sqlite3 runs (s): ${baseline_times[*]}"
echo "import median:    $import_median s"
echo "sqlite3 median:   $baseline_median s"
awk -v a="$import_median" -v b="$baseline_median" \
    'BEGIN { printf "ratio:            %.2f x the baseline\n", a / b }'

# Both must have stored the same rows, or the comparison means nothing.
dump() {
    sqlite3 "$1" "SELECT quote(ID), quote(ID_TYPE), quote(DMSTUFE), quote(BHDBIS), quote(BHD),
        quote(TARIF), quote(KUBATUR), quote(REGION_A), quote(BAUMART), quote(HS1), quote(HS2),
        quote(HS3), quote(HS4), quote(HS5), quote(HS6) FROM Brov_Einstellungen ORDER BY ID"
}
dump "$last_root/Brovant/Brovant.cdb" >"$work/import.rows"
dump "$work/baseline.db" >"$work/baseline.rows"
if cmp -s "$work/import.rows" "$work/baseline.rows"; then
    echo "rows:             identical"
else
    differing=$(diff "$work/import.rows" "$work/baseline.rows" | grep -c '^<' || true)
    echo "rows:             $differing differ"
fi

mem_root="$work/memroot"
mkdir "$mem_root"
if [[ -x /usr/bin/time ]]; then
    /usr/bin/time -v "$tool" --root "$mem_root" import-config "$config" \
        >/dev/null 2>"$work/time.txt" || true
    peak=$(awk -F': ' '/Maximum resident set size/ { print $2 }' "$work/time.txt")
    echo "import peak RSS:  ${peak} KiB (whole tool process)"
else
    # Without GNU time, getrusage of the finished child gives its peak.
    python3 - "$tool" "$mem_root" "$config" <<'EOF'
import resource, subprocess, sys
subprocess.run([sys.argv[1], "--root", sys.argv[2], "import-config", sys.argv[3]],
               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
peak = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
print("import peak RSS:  %d KiB (whole tool process)" % peak)
EOF
fi
