#!/usr/bin/env bash
# Configures and builds one build folder: build.sh DIR [cmake options...]
set -euo pipefail
cd "$(dirname "$0")/.."
dir=$1
shift
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
cmake --build "$dir" -- -j"$(nproc)"
