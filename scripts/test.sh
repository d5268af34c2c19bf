#!/usr/bin/env bash
# Installs what is missing, builds with AddressSanitizer and UndefinedBehaviorSanitizer and runs
# every test.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
# No include may run against the layer order; cheaper than any build, so before it.
scripts/check-layers.sh
# Light optimisation and line tables only: the sanitizers stay quick, the build stays short.
scripts/build.sh build/test -DBROVANT_SANITIZE=ON -DBROVANT_TESTS=ON -DCMAKE_BUILD_TYPE=Debug \
    "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -g1"
cd build/test
QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j"$(nproc)" --timeout 300
