#!/usr/bin/env bash
# Measures `recast columns` in one run, as its users see it: beside pandas on 10 million lines, with
# 10,000 files of 100 lines, and its peak memory on 30 million lines. Takes 3 GB of disk.
#
#   bench/columns/measure.sh BUILD_FOLDER [ROUNDS]
#
# The build folder is one with the benchmarks. Needs the Debian packages time, python3-h5py and
# python3-pandas; without the last the comparison is left out. On a busy machine look at the ratio of
# the processor times.
set -euo pipefail
build=$(realpath "$1")
rounds=${2:-5}
here=$(realpath "$(dirname "$0")")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

# Converts FILE..., and prints seconds, seconds of processor time, and kB of memory at the peak.
recast() {
  sync  # what was written before is not to disturb
  /usr/bin/time -f "%e %U %S %M" -o usage "$build/bin/recast" columns -c point:Positions:0,1,2 \
    -c float:Intensity:3 -c rgb:Colour:4,5,6 -o out.q8 "$@" >/dev/null 2>&1
  awk '{ print $1, $2 + $3, $4 }' usage
}
median() {  # FILE COLUMN
  awk -v column="$2" '{ print $column }' "$1" | sort -n |
    awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'
}
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.1f", a / b }'; }

"$build/bench/columns/bench_columns_make_scan" scan.txt 10000000
cat scan.txt >/dev/null
with_pandas=0
/usr/bin/python3 -c 'import pandas, h5py' 2>/dev/null && with_pandas=1
for ((i = 0; i < rounds; ++i)); do
  recast scan.txt >>recast.times
  [ $with_pandas = 0 ] || /usr/bin/python3 "$here/compare_pandas.py" scan.txt out.h5 >>pandas.times
done
echo "10 million lines, $(stat -c %s scan.txt) bytes, medians of $rounds rounds:"
echo "  recast columns   $(median recast.times 1) s, processor $(median recast.times 2) s"
if [ $with_pandas = 1 ]; then
  echo "  pandas and h5py  $(median pandas.times 1) s, processor $(median pandas.times 2) s"
  echo "  ratio            $(ratio "$(median pandas.times 1)" "$(median recast.times 1)")," \
    "processor $(ratio "$(median pandas.times 2)" "$(median recast.times 2)")"
fi

mkdir many
head -1000000 scan.txt | split -l 100 -a 4 -d - many/
read -r elapsed processor memory < <(recast many/*)
echo "10,000 files of 100 lines: $elapsed s, processor $processor s, peak $((memory / 1024)) MiB"

cat scan.txt scan.txt scan.txt >long.txt
rm scan.txt
read -r elapsed processor memory < <(recast long.txt)
echo "30 million lines: $elapsed s, peak $((memory / 1024)) MiB; a block's arrays have 296 MiB"
