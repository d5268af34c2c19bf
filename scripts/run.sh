#!/usr/bin/env bash
# Installs what is missing, builds, prepares the demo device from the sample configuration and
# shows it. The demo device lives in build/demo-device (or $BROVANT_ROOT).
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
"$tool" --root "$root" settings
