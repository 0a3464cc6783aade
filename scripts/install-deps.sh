#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs the Debian packages that building and testing OrreryCore needs,
# skipping those already present. Extra package names may be passed as arguments.
set -euo pipefail

packages=(cmake ninja-build g++ pkg-config qtbase5-dev libgtest-dev libgmock-dev "$@")

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then
    sudo="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
