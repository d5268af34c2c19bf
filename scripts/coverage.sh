#!/usr/bin/env bash
# Builds with gcov instrumentation, runs the whole suite and prints gcovr's line, function and
# branch summary for src/. coverage.sh [BUILD_DIR] (default build/coverage).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
if ! command -v gcovr >/dev/null; then
    sudo_cmd=()
    [[ $(id -u) -ne 0 ]] && sudo_cmd=(sudo)
    DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends gcovr >/dev/null
fi
dir=${1:-build/coverage}
# No sanitizers and no precompiled headers: both disturb gcov's line tables.
scripts/build.sh "$dir" -DBROVANT_TESTS=ON -DBROVANT_PCH=OFF -DCMAKE_BUILD_TYPE=Debug \
    "-DCMAKE_CXX_FLAGS=--coverage" "-DCMAKE_EXE_LINKER_FLAGS=--coverage"
find "$dir" -name '*.gcda' -delete
(cd "$dir" && QT_QPA_PLATFORM=offscreen ctest -j"$(nproc)" --timeout 600 --output-on-failure) || true
# Throw branches and unreachable exception paths are not the program's decisions. The report per
# file goes beside the build: gcovr tries an output file by creating and deleting it, which run as
# root would delete /dev/null itself.
gcovr --root . --filter 'src/' --object-directory "$dir" --exclude-throw-branches \
    --exclude-unreachable-branches --print-summary --txt "$dir/coverage.txt"
echo "per file: $dir/coverage.txt"
