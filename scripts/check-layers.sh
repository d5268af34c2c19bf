#!/usr/bin/env python3
"""Fails for any #include "..." under src/ that reaches a higher layer or a peer.

Order, low to high: platform < data < masterdata < tally, device < evaluation, transfer
< workflow < app, tool. Folders on one rank are peers and include nothing of each other.
"""
import os
import re
import sys

RANKS = {
    "platform": 0,
    "data": 1,
    "masterdata": 2,
    "tally": 3,
    "device": 3,
    "evaluation": 4,
    "transfer": 4,
    "workflow": 5,
    "app": 6,
    "tool": 6,
    "office": 6,
}
# Subfolders that belong to the layer above them.
PARTS = {
    "platform/serial": "platform",
    "platform/logind": "platform",
    "data/office": "data",
    "tally/caliper": "tally",
    "evaluation/print": "evaluation",
}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"')


def layer(rel):
    """The layer of a path relative to src/, or None outside every layer."""
    folder = os.path.dirname(rel)
    while folder:
        if folder in PARTS:
            return PARTS[folder]
        if folder in RANKS:
            return folder
        folder = os.path.dirname(folder)
    return None


def main():
    src = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "src")
    src = os.path.normpath(src)
    faults = []
    unknown = []
    for root, folders, files in os.walk(src):
        folders.sort()
        for name in sorted(files):
            if not name.endswith((".h", ".cpp")):
                continue
            path = os.path.join(root, name)
            rel = os.path.relpath(path, src)
            own = layer(rel)
            if own is None:
                unknown.append(f"src/{rel}: in no layer")
                continue
            with open(path, encoding="utf-8", errors="replace") as f:
                for number, line in enumerate(f, 1):
                    m = INCLUDE.match(line)
                    if not m:
                        continue
                    # Beside the file first, as the compiler looks, then from src/.
                    beside = os.path.normpath(os.path.join(root, m.group(1)))
                    target = beside if os.path.exists(beside) else os.path.join(src, m.group(1))
                    other = layer(os.path.relpath(target, src))
                    if other is None or other == own:
                        continue  # its own layer, or generated beside it (moc, rcc)
                    if RANKS[other] < RANKS[own]:
                        continue
                    kind = "upwards" if RANKS[other] > RANKS[own] else "between peers"
                    faults.append(f"src/{rel}:{number}: {own} includes {other} ({kind}): "
                                  f"{m.group(1)}")
    for line in unknown + faults:
        print(line, file=sys.stderr)
    if unknown or faults:
        print(f"check-layers: {len(faults)} include(s) against the layer order", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
