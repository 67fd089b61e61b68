#!/bin/sh
# The time from a stored grid to stored contour lines, against gdal_contour (Debian: gdal-bin), with 75
# and with 370 levels of one terrain. Both programs run alternately; medians of three runs.
#
#   bench/contours/compare_gdal.sh BUILD [SIDE]
#
# BUILD is a build folder with the program and the benchmarks (RECAST_BUILD_BENCHMARKS=ON), SIDE the
# number of vertices each way [5000]. Each reads the form that is its own: a .q8 grid, a tiled GeoTIFF
# without compression; each writes its own, gdal_contour a Shapefile, its default.
set -eu

build=$1
side=${2:-5000}
recast=$build/bin/recast
work=$(mktemp -d "${TMPDIR:-/tmp}/recast-contours-XXXXXX")
trap 'rm -rf "$work"' EXIT

"$build/bench/contours/bench_make_raster" "$side" >"$work/terrain.asc"
"$recast" grid -o "$work/terrain.q8" "$work/terrain.asc"
gdal_translate -q -ot Float32 -co TILED=YES "$work/terrain.asc" "$work/terrain.tif"
range=$(gdalinfo -stats "$work/terrain.tif" |
  sed -n 's/^ *STATISTICS_\(MINIMUM\|MAXIMUM\)=//p' | sort -g | tr '\n' ' ')

# seconds NAME COMMAND...: runs it and adds the time to the list of that name.
seconds() {
  name=$1
  shift
  start=$(date +%s.%N)
  "$@" >"$work/log" 2>&1 || { cat "$work/log" >&2; exit 1; }
  end=$(date +%s.%N)
  awk -v a="$start" -v b="$end" 'BEGIN { printf "%.3f\n", b - a }' >>"$work/$name"
}

median() {
  sort -g "$work/$1" | sed -n 2p
}

for levels in 75 370; do
  # shellcheck disable=SC2086
  set -- $range
  step=$(awk -v a="$1" -v b="$2" -v n="$levels" 'BEGIN { printf "%.9g", (b - a) / n }')
  for run in 1 2 3; do
    rm -f "$work"/lines.*
    seconds "recast$levels" "$recast" contours --step "$step" --range "$1:$2" -o "$work/lines.q8" \
      "$work/terrain.q8"
    seconds "gdal$levels" gdal_contour -q -3d -off "$1" -i "$step" "$work/terrain.tif" \
      "$work/lines.shp"
  done
  vertices=$("$recast" info "$work/lines.q8" | sed -n 's/.*point, \([0-9]*\) elements.*/\1/p')
  awk -v n="$levels" -v v="$vertices" -v a="$(median "recast$levels")" -v b="$(median "gdal$levels")" \
    'BEGIN { printf "%d levels, %s vertices: recast %.2f s, gdal_contour %.2f s, ratio %.1f\n", n, v, a, b, b / a }'
done
