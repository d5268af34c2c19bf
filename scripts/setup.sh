#!/usr/bin/env bash
# Installs what building and testing need, from Debian's packages. Quiet when all is there.
set -euo pipefail

packages=(
    g++ cmake ninja-build pkg-config
    qt6-base-dev qt6-serialport-dev qt6-svg-dev libgl-dev
    libsqlite3-dev sqlite3 libcurl4-openssl-dev python3-pyftpdlib
    libgtest-dev libgmock-dev libbenchmark-dev
    fonts-dejavu-core
    poppler-utils
    libqt6sql6-sqlite libqt6sql6-psql libcpp-httplib-dev postgresql-15
    chromium chromium-driver python3-selenium
)

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done

if ((${#missing[@]})); then
    echo "Installing: ${missing[*]}"
    sudo_cmd=()
    if [[ $(id -u) -ne 0 ]]; then
        sudo_cmd=(sudo)
    fi
    export DEBIAN_FRONTEND=noninteractive
    "${sudo_cmd[@]}" apt-get update -qq
    "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
