#!/usr/bin/env bash
# Installs what is missing, builds, prepares the demo device from the sample configuration and
# starts the program on it. Without a display it runs the demo tour and says where the pictures
# are. The demo device lives in build/demo-device (or $BROVANT_ROOT).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh build/release -DBROVANT_TESTS=OFF

root=${BROVANT_ROOT:-$PWD/build/demo-device}
tool=build/release/brovant-tool
if [[ ! -f "$root/Brovant/Brovant.cdb" ]]; then
    "$tool" --root "$root" init
    "$tool" --root "$root" import-config demo/passive.dtr
fi
echo "Demo device: $root"

if [[ -n "${DISPLAY:-}" || -n "${WAYLAND_DISPLAY:-}" ]]; then
    exec build/release/brovant --root "$root"
fi
echo "No display: running the demo tour instead."
build/release/brovant --root "$root" --demo-tour "$PWD/build/demo-tour"
