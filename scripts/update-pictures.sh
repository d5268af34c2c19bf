#!/usr/bin/env bash
# Runs the demo tour on a fresh demo device and keeps its pictures in docs/pictures for the README.
set -euo pipefail
cd "$(dirname "$0")/.."
# Any build folder with the program will do (BUILD=build/bench); else build/release is built.
build=${BUILD:-build/release}
[[ -n ${BUILD:-} ]] || scripts/build.sh "$build" -DBROVANT_TESTS=OFF
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
"$build/brovant-tool" --root "$root" import-config demo/passive.dtr
rm -rf docs/pictures
QT_QPA_PLATFORM=offscreen "$build/brovant" --root "$root" --demo-tour docs/pictures
