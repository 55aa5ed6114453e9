#!/usr/bin/env bash
# Installs the Debian packages the project needs, when run as root and when
# they are missing. Usage: scripts/setup.sh [build|test|bench|fuzz|all]
set -euo pipefail
what=${1:-test}
pkgs=(cmake g++ make)
case "$what" in
  build) pkgs+=(libpng-dev pkg-config) ;;
  test) pkgs+=(libgtest-dev pkg-config libpng-dev python3 python3-numpy python3-pytest
             python3-venv python3-pip python3-setuptools python3-scipy python3-skimage python3-opencv
             python3-pil python3-dask python3-distributed) ;;
  bench) pkgs+=(libopencv-dev libpng-dev python3-skimage) ;;
  fuzz) pkgs+=(clang libclang-rt-14-dev) ;;
  all) pkgs+=(libgtest-dev pkg-config libpng-dev python3 python3-numpy python3-pytest
            python3-venv python3-pip python3-setuptools python3-scipy python3-skimage python3-opencv
            python3-pil python3-dask python3-distributed libopencv-dev clang libclang-rt-14-dev) ;;
esac
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  if [ "$(id -u)" -ne 0 ]; then
    echo "missing Debian packages: ${missing[*]} (run as root to install them)" >&2
    exit 1
  fi
  echo "installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
