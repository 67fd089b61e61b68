#!/usr/bin/env bash
# Installs what building, testing and measuring recast needs on Debian 12. Safe to run again: it
# installs only what is missing.
#
#   scripts/setup.sh [--bench | --fuzz | --reference]
#
# --bench adds the programs that the benchmarks compare with, --fuzz the compiler of the fuzzers,
# --reference what makes the reference.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config ccache dpkg-dev
  libhdf5-dev libdeflate-dev libcli11-dev nlohmann-json3-dev
  libgtest-dev libgmock-dev
  clang-format locales hdf5-tools python3-h5py  # the tests look at files with these
)
[ "${1:-}" != --bench ] || packages+=(libbenchmark-dev gdal-bin hyperfine
  time python3-mapbox-earcut python3-numpy python3-pandas)
[ "${1:-}" != --fuzz ] || packages+=(clang libclang-rt-dev libomp-dev)
[ "${1:-}" != --reference ] || packages+=(doxygen)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' ||
    missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: all packages are installed"
  exit 0
fi

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null || ! sudo -n true 2>/dev/null && ! { [ -t 0 ] && sudo true; }; then
    echo "setup: these packages are missing, and installing them takes root's rights:" >&2
    echo "  ${missing[*]}" >&2
    echo "Run this script as root, or have them installed with: apt-get install ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi
echo "setup: installing ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
  apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
echo "setup: done"
