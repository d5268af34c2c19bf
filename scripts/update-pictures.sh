#!/usr/bin/env bash
# Runs the demo tour on a fresh demo device and keeps its pictures in docs/pictures for the README.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh build/release -DBROVANT_TESTS=OFF
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
build/release/brovant-tool --root "$root" import-config demo/passive.dtr
rm -rf docs/pictures
QT_QPA_PLATFORM=offscreen build/release/brovant --root "$root" --demo-tour docs/pictures
