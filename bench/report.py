#!/usr/bin/env python3
"""Turns the benchmark results of bench/run-all.sh into docs/performance.md."""
import json
import os
import platform
import re
import subprocess
import sys

# Goals of the figures, by benchmark name (a regular expression on the name): text and the
# largest allowed median in milliseconds (None when the goal is not a time of this benchmark).
GOALS = [
    (r"BM_LoadSettings", "settings load < 20 ms", 20.0),
    (r"BM_Import(IntoFresh|Replacing)", "100,000 lines ≤ 2× sqlite3 (below)", None),
    (r"BM_TreeSave", "median < 5 ms, p99 < 20 ms", 5.0),
    (r"BM_ClassLookup|BM_VolumeLookup", "< 1 µs each", 0.001),
    (r"BM_FiftiethTreeWithBackup", "must not feel slow (reported)", None),
    (r"Totals", "100,000 trees < 100 ms", 100.0),
    (r"Caliper", "1,000 telegrams, none lost or doubled", None),
    (r"Export", "20,000 trees < 0.2 s", 200.0),
    (r"Import(?!Config)", "20,000 trees < 0.5 s", 500.0),
    (r"Cable|Serial", "20,000 lines < 5 s each way", 5000.0),
    (r"Ftp", "100 files < 2 s", 2000.0),
    (r"Backup", "1,000 lists / 100,000 trees < 1 s", 1000.0),
    (r"Restore", "reported", None),
    (r"ConfigImport|Settings", "import ≤ 2× sqlite3; settings load < 20 ms", None),
    (r"ListSelection", "reported", None),
    (r"Startup", "reported", None),
]


def goal_of(name):
    for pattern, text, limit in GOALS:
        if re.search(pattern, name, re.IGNORECASE):
            return text, limit
    return "", None


def to_ms(value, unit):
    return value * {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[unit]


def fmt_ms(ms):
    if ms < 0.01:
        return f"{ms * 1e6:.0f} ns"
    if ms < 1:
        return f"{ms * 1e3:.1f} µs"
    return f"{ms:.2f} ms"


def machine():
    cpu = "unknown CPU"
    try:
        with open("/proc/cpuinfo") as f:
            for line in f:
                if line.startswith("model name"):
                    cpu = line.split(":", 1)[1].strip()
                    break
    except OSError:
        pass
    mem = ""
    try:
        with open("/proc/meminfo") as f:
            kb = int(f.readline().split()[1])
            mem = f", {kb / 1024 / 1024:.1f} GB RAM"
    except (OSError, ValueError, IndexError):
        pass
    distro = subprocess.run(["sh", "-c", ". /etc/os-release && echo $PRETTY_NAME"],
                            capture_output=True, text=True).stdout.strip()
    return f"{cpu}, {os.cpu_count()} cores{mem}; {distro}; kernel {platform.release()}"


def main(folder):
    rows = []
    for file in sorted(os.listdir(folder)):
        if not file.endswith(".json"):
            continue
        program = file[:-5]
        with open(os.path.join(folder, file)) as f:
            data = json.load(f)
        rss = ""
        try:
            with open(os.path.join(folder, program + ".rss")) as f:
                rss = f"{int(f.read().split()[-1]) / 1024:.1f} MB"
        except (OSError, ValueError, IndexError):
            pass
        for b in data.get("benchmarks", []):
            if b.get("aggregate_name") != "median":
                continue
            name = b["run_name"]
            ms = to_ms(b["real_time"], b.get("time_unit", "ns"))
            extra = []
            for key in ("median_ms", "p99_ms", "received", "trees", "saved", "backups"):
                if key in b:
                    extra.append(f"{key} {b[key]:.4g}")
            text, limit = goal_of(name)
            judged = ms if "median_ms" not in b else b["median_ms"]
            verdict = "" if limit is None else ("met" if judged <= limit else "**missed**")
            rows.append((program, name, fmt_ms(ms), ", ".join(extra), rss, text, verdict))
    print("# Performance\n")
    print("Written by `bench/run-all.sh` (Release build, Google Benchmark, 3 repetitions; the")
    print("table shows medians). Peak memory is the whole benchmark process, set-up included.\n")
    print(f"Machine: {machine()}\n")
    print("| program | benchmark | median | more | peak memory | goal | |")
    print("|---|---|---|---|---|---|---|")
    for r in rows:
        print("| " + " | ".join(r) + " |")
    for extra, title in (("import_vs_sqlite.txt", "Configuration import against sqlite3"),
                         ("startup.txt", "Start to the main menu")):
        path = os.path.join(folder, extra)
        if os.path.exists(path):
            with open(path) as f:
                print(f"\n## {title}\n\n```\n{f.read().strip()}\n```")


if __name__ == "__main__":
    main(sys.argv[1])
