#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, when any is missing.
set -euo pipefail
packages=(g++ cmake ninja-build googletest libgtest-dev libgmock-dev libbenchmark-dev
          pybind11-dev python3-pybind11 python3-dev python3-numpy python3-pandas python3-matplotlib
          python3-pytest python3-setuptools python3-pip python3-wheel python3-venv libsqlite3-dev
          python3-dask python3-distributed python3-xarray clang-format clang libclang-rt-14-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo_cmd apt-get update -q
  $sudo_cmd apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
