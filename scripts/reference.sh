#!/usr/bin/env bash
# Makes the reference of the public headers, build/reference/html/index.html; fails on any warning.
# Needs the Debian package doxygen, which it installs if it may.
set -euo pipefail
cd "$(dirname "$0")/.."

command -v doxygen >/dev/null || scripts/setup.sh --reference
mkdir -p build
doxygen docs/Doxyfile
echo "reference: build/reference/html/index.html"
