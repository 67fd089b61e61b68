#!/usr/bin/env bash
# Installs what is needed, builds recast, converts a sample raster and shows what came out.
# Safe to run again.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
echo "quickstart: building (the first time takes a few minutes)"
cmake --preset release >/dev/null
cmake --build --preset release --target recast_program

output=build/release/hill-and-valley.q8
echo "quickstart: recast raster -o $output samples/hill-and-valley.asc"
build/release/bin/recast raster -o "$output" samples/hill-and-valley.asc
echo "quickstart: recast info $output"
build/release/bin/recast info "$output"
echo "quickstart: the program is build/release/bin/recast"
