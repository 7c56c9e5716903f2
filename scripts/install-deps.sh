#!/usr/bin/env bash
# Installs the Debian packages the build needs, and any named as arguments, only when one is missing.
set -euo pipefail

packages=(cmake g++ make pkg-config qtbase5-dev qtbase5-private-dev libtinyxml-dev libglib2.0-dev libgtest-dev libgmock-dev
    libbenchmark-dev qtdeclarative5-dev qml-module-qtquick2 qml-module-qtquick-window2
    qtbase5-examples qtdeclarative5-examples python3-pytest python3-pytest-xdist "$@")
missing=()
for p in "${packages[@]}"; do
    dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "Installing: ${missing[*]}"
    sudo=""
    [ "$(id -u)" -ne 0 ] && sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
