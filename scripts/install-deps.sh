#!/usr/bin/env bash
# Installs the Debian 12 packages Kestrova needs to build and test. Safe to
# run again: packages already present are left alone.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  # The fixture discs are authored at test time, and libdvdread reads them
  # as a second IFO reader beside Kestrova's own; libdvdnav walks their menus.
  dvdauthor ffmpeg mjpegtools imagemagick libdvdread-dev libdvdnav-dev
  # The stand-in for the requantiser re-encodes with it.
  m2vrequantiser
)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo_cmd=()
  [ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
  "${sudo_cmd[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq "${missing[@]}"
fi
