#!/usr/bin/env bash
# What storing the master rows of a configuration file costs with nothing but SQLite: the rows the
# import writes to Brov_Einstellungen, as INSERT statements in one transaction, run by the sqlite3
# shell into a fresh database with the program's pragmas and table definition.
#
#   sqlite_baseline.sh --sql CONFIG               print the SQL
#   sqlite_baseline.sh [--keep DB] CONFIG [RUNS]  time RUNS fresh runs (default 5), printing the
#                                                 seconds of each on a line; --keep copies the
#                                                 last run's database to DB
#
# Meant for well-formed files such as the benchmark's generated one: a numeric column that does
# not parse reads as 0 here instead of keeping the previous value.
set -euo pipefail

usage() { echo "usage: $0 [--sql | --keep DB] CONFIG [RUNS]" >&2; exit 2; }

mode=time
keep=
case "${1:-}" in
--sql) mode=sql; shift ;;
--keep) keep=${2:-}; [[ -n $keep ]] || usage; shift 2 ;;
esac
config=${1:-}
runs=${2:-5}
[[ -f $config ]] || usage
command -v sqlite3 >/dev/null || { echo "sqlite3 shell not found" >&2; exit 1; }

emit_sql() {
    # The program opens its database with these pragmas and this table definition.
    cat <<'EOF'
PRAGMA journal_mode=DELETE;
PRAGMA synchronous=FULL;
CREATE TABLE IF NOT EXISTS Brov_Einstellungen (ID INTEGER, ID_TYPE INTEGER, DMSTUFE TEXT, BHDBIS INTEGER, BHD INTEGER, TARIF TEXT, KUBATUR INTEGER, REGION_A TEXT, BAUMART TEXT, HS1 INTEGER, HS2 INTEGER, HS3 INTEGER, HS4 INTEGER, HS5 INTEGER, HS6 INTEGER);
BEGIN;
EOF
    # Columns are cut from the Windows-1252 bytes; the finished SQL is converted to UTF-8, which is
    # what the program stores.
    LC_ALL=C awk '
        function col(start, len) { return substr(line, start + 1, len) }
        function txt(start, len,   s) {
            s = col(start, len)
            gsub(/\047/, "\047\047", s)
            return "\047" s "\047"
        }
        function num(start, len) { return col(start, len) + 0 }
        # Single precision, as the program reads volumes: round to a 24-bit mantissa.
        function f32(x,   a, e, s) {
            x += 0
            if (x == 0) return 0
            a = x < 0 ? -x : x
            for (e = 0; a >= 2; e++) a /= 2
            for (; a < 1; e--) a *= 2
            s = 2 ^ (23 - e)
            return (x < 0 ? -1 : 1) * int((x < 0 ? -x : x) * s + 0.5) / s
        }
        function hundredths(start, len) { return int(f32(f32(col(start, len)) * 100) + 0.5) }
        function row(type, dmstufe, bhdbis, bhd, tarif, kubatur, region, baumart, hs) {
            printf "INSERT INTO Brov_Einstellungen (ID, ID_TYPE, DMSTUFE, BHDBIS, BHD, TARIF, " \
                   "KUBATUR, REGION_A, BAUMART, HS1, HS2, HS3, HS4, HS5, HS6) " \
                   "VALUES (%d, %d, %s, %d, %d, %s, %d, %s, %s, %s);\n",
                   id++, type, dmstufe, bhdbis, bhd, tarif, kubatur, region, baumart, hs
        }
        BEGIN {
            id = 0
            pad = sprintf("%1000s", "")
            e = "\047\047" # the empty text of fields a record does not carry
            nulls = "NULL, NULL, NULL, NULL, NULL, NULL"
        }
        NR == 1 { next }
        {
            line = $0
            sub(/\r$/, "", line)
            line = substr(line, 1, 999) pad
            tag = substr(line, 1, 3)
            if (tag == "30E")
                row(1, txt(3, 2), num(5, 3), num(8, 3), e, 0, e, e, nulls)
            else if (tag == "40F")
                row(2, txt(8, 2), 0, 0, txt(3, 5), hundredths(10, 7), e, e, nulls)
            else if (tag == "611")
                row(4, txt(6, 2), 0, 0, e, 0, e, txt(3, 3),
                    hundredths(8, 6) ", " hundredths(14, 6) ", " hundredths(20, 6) ", " \
                    hundredths(26, 6) ", " hundredths(32, 6) ", " hundredths(38, 6))
            else if (tag == "712")
                row(3, e, 0, 0, txt(14, 5), 0, txt(3, 8), txt(11, 3), nulls)
        }
    ' "$config" | iconv -c -f WINDOWS-1252 -t UTF-8
    echo "COMMIT;"
}

if [[ $mode == sql ]]; then
    emit_sql
    exit 0
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
emit_sql >"$work/rows.sql"
for ((i = 0; i < runs; i++)); do
    rm -f "$work/baseline.db"
    start=$EPOCHREALTIME
    sqlite3 "$work/baseline.db" <"$work/rows.sql" >/dev/null
    end=$EPOCHREALTIME
    awk -v s="$start" -v e="$end" 'BEGIN { printf "%.4f\n", e - s }'
done
if [[ -n $keep ]]; then
    cp "$work/baseline.db" "$keep"
fi
