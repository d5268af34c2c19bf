#!/usr/bin/env bash
# Installs what is missing, builds with AddressSanitizer and UndefinedBehaviorSanitizer and runs
# every test.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh build/test -DBROVANT_SANITIZE=ON -DBROVANT_TESTS=ON
cd build/test
QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j"$(nproc)" --timeout 300
