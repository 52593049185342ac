#!/usr/bin/env bash
# Installs everything the build, the tests and a run need on a fresh Debian 12 machine.
# Safe to run again: apt-get skips what is already there.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config git
  qt6-base-dev qt6-base-dev-tools libgl-dev
  libcurl4-openssl-dev libssl-dev zlib1g-dev openssl curl
  libplist-dev libplist++-dev
  libcpp-httplib-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  clang libclang-rt-14-dev
  python3
  qt6-charts-dev libqt6opengl6-dev libxkbcommon-dev
  libenchant-2-dev hunspell-en-us hunspell-de-de
  liblink-grammar-dev link-grammar-dictionaries-en
  w3c-markup-validator lighttpd
  python3-pyftpdlib python3-aiosmtpd
  libxml2-utils
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
