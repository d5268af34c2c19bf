#!/usr/bin/env bash
# 1,000 list files of 2,000 trees each through the office's inbox, on SQLite and on a PostgreSQL
# started for the run: wall time and peak memory of brovant-office taking them.
# Usage: bench/office/inbox_bench.sh BUILD_DIR [LISTS] [TREES]   (a Release build is meant)
set -euo pipefail
build=$(realpath "$1")
lists=${2:-1000}
trees=${3:-2000}
src=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tool=$build/brovant-tool
office=$build/brovant-office

# One list tallied on a device, its file copied under other list numbers.
"$tool" --root "$work/device" import-config "$src/demo/passive.dtr" >/dev/null
"$tool" --root "$work/device" new-list BENCH --region WR01 --field 1=Forstamt --field 2=Revier \
    --field 3=12 --field 12=Anna >/dev/null
/usr/bin/python3 - "$trees" >"$work/trees" <<'PY'
import sys
species = [("FI", "FI01"), ("BU", "BU01"), ("KI", "KI01"), ("EI", "EI01")]
for i in range(int(sys.argv[1])):
    s, t = species[i % 4]
    print(f"--bhd {12 + i % 60} --species {s} --tarif {t}")
PY
"$tool" --root "$work/device" tally BENCH --trees "$work/trees" >/dev/null
"$tool" --root "$work/device" mark BENCH >/dev/null
"$tool" --root "$work/device" export-lists >/dev/null
/usr/bin/python3 - "$work/device/Export/BENCH   .DAT" "$work/inbox" "$lists" <<'PY'
import os, sys
template = open(sys.argv[1], "rb").read()
os.makedirs(sys.argv[2])
for i in range(int(sys.argv[3])):
    name = f"B{i:07d}".encode()
    with open(os.path.join(sys.argv[2], name.decode() + ".DAT"), "wb") as f:
        f.write(template.replace(b"BENCH   ", name))
PY
echo "list file: $(stat -c %s "$work/device/Export/BENCH   .DAT") bytes, $trees trees; $lists files"
sleep 3 # the inbox takes files that have settled

measure() { # label, then the store options
    local label=$1
    shift
    rm -rf "$work/run"
    cp -a "$work/inbox" "$work/run"
    /usr/bin/time -f "$label: %e s wall, %M KB peak" "$office" --data "$work/data-$label" "$@" \
        inbox "$work/run" >"$work/out-$label"
    echo "  $(grep -c '^imported' "$work/out-$label") imported, $(grep -vc '^imported' "$work/out-$label" || true) other"
}
measure sqlite

# PostgreSQL from Debian's packages, on a Unix socket in the work folder.
pgbin=$(ls -d /usr/lib/postgresql/*/bin | sort -V | tail -1)
as_pg=()
if [[ $(id -u) -eq 0 ]]; then
    as_pg=(runuser -u postgres --)
    mkdir "$work/pg"
    chown postgres "$work/pg"
    chmod 755 "$work"
else
    mkdir "$work/pg"
fi
"${as_pg[@]}" "$pgbin/initdb" -D "$work/pg/data" -A trust -U postgres --no-sync >/dev/null
"${as_pg[@]}" "$pgbin/pg_ctl" -D "$work/pg/data" -l "$work/pg/log" -w \
    -o "-c listen_addresses='' -c unix_socket_directories='$work/pg'" start >/dev/null
trap '"${as_pg[@]}" "$pgbin/pg_ctl" -D "$work/pg/data" -m immediate stop >/dev/null; rm -rf "$work"' EXIT
"${as_pg[@]}" "$pgbin/createdb" -h "$work/pg" -U postgres bench
measure postgresql --database "postgresql://postgres@localhost/bench?host=$work/pg"
