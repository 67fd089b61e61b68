#!/usr/bin/env bash
# Measures `recast terrain`: 100 rasters of 1000 x 1000 cells, and 5 million scattered samples as text
# and as a .q8 point cloud. Takes 7 GB of disk.
#
#   bench/raster/measure_terrain.sh BUILD_FOLDER [ROUNDS]
#
# The build folder is one with the benchmarks. Needs the Debian package time.
set -euo pipefail
build=$(realpath "$1")
rounds=${2:-3}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

# Converts FILE..., and prints the median of the seconds and the kB of memory at the peak.
terrain() {
  rm -f times
  for ((i = 0; i < rounds; ++i)); do
    rm -f out.q8
    sync
    /usr/bin/time -f "%e %M" -a -o times "$build/bin/recast" terrain -o out.q8 "$@" >/dev/null 2>&1
  done
  sort -n times | awk '{ v[NR] = $0 } END { split(v[int((NR + 1) / 2)], m, " ")
    printf "%s s, peak %d MB", m[1], m[2] / 1024 }'
}

"$build/bench/contours/bench_make_raster" 1000 >tile.asc
mkdir tiles
for ((row = 0; row < 10; ++row)); do
  for ((column = 0; column < 10; ++column)); do
    sed -e "s/^xllcorner.*/xllcorner $((3500000 + 1000 * column))/" \
      -e "s/^yllcorner.*/yllcorner $((5400000 + 1000 * row))/" tile.asc >"tiles/$row-$column.asc"
  done
done
echo "100 rasters, $(du -m --apparent-size -s tiles | cut -f 1) MB: $(terrain tiles/*.asc)," \
  "to $(($(stat -c %s out.q8) / 1000000)) MB"
rm -r tiles

awk 'BEGIN { for (y = 0; y < 2000; ++y) for (x = 0; x < 2500; ++x)
  printf "%d %d %.2f\n", 3500000 + x, 5400000 + y, (x * 7 + y * 13) % 1000 / 10 }' >samples.txt
echo "5 million samples of text, $(($(stat -c %s samples.txt) / 1000000)) MB: $(terrain samples.txt)"
"$build/bin/recast" columns -c point:Positions:0,1,2 -o samples.q8 samples.txt >/dev/null 2>&1
echo "the same from a .q8 point cloud: $(terrain samples.q8)"
