#!/usr/bin/env bash
# Builds the Debian package: installs what is missing, builds in Release and runs CPack. The
# package lands in build/package; install it with: apt install ./build/package/brovant_*.deb
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh build/package -DCMAKE_BUILD_TYPE=Release -DBROVANT_TESTS=OFF
(cd build/package && cpack -G DEB >/dev/null)
ls build/package/brovant_*.deb
