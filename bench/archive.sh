#!/usr/bin/env bash
# Times the archive library against the system's own tools and prints one table
# (docs/performance.md explains the cases and keeps the latest figures).
#   bench/archive.sh
# Environment:
#   RF_BENCH_DIR   folder for test data and results (default bench/out); data found there is reused
#   RF_BENCH_RUNS  timed runs per command (default 5, after one warm-up run)
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work=${RF_BENCH_DIR:-$root/bench/out}
runs=${RF_BENCH_RUNS:-5}
archive_mb=300   # files in the zip archive, before compression
crc_mb=400       # the file to checksum
tree_files=100000

step() { printf '\n== %s\n' "$*" >&2; }
# Deletes folder trees and notes when, for the extraction case (see there).
remove_trees() {
  rm -rf "$@"
  date +%s >"$work/.freed"
}
# Peak resident memory in KiB of one run, into FILE.
peak_rss() {
  local file=$1
  shift
  /usr/bin/time -f %M -o "$file" "$@" >/dev/null
}

step "tools and build"
cd "$root"
scripts/bootstrap --bench
cmake --preset release -DRF_BUILD_BENCH=ON >/dev/null
cmake --build --preset release --target rf_archive_bench -- -j1
tool=$root/build/release/bench/rf_archive_bench

mkdir -p "$work"
work=$(cd "$work" && pwd)
results=$work/results
rm -rf "$results"
mkdir -p "$results" "$work/extract" "$work/crc"

# Each data set is made once; its .done file says it is complete.
if [[ ! -f $work/extract/.done ]]; then
  step "making the zip archive (~${archive_mb} MB of files from /usr)"
  remove_trees "$work/extract/src" "$work/extract/archive.zip"
  python3 bench/archive_data.py files "$work/extract/src" "$archive_mb"
  (cd "$work/extract/src" && zip -q -r ../archive.zip .)
  remove_trees "$work/extract/src"
  python3 -c 'import sys, zipfile
entries = zipfile.ZipFile(sys.argv[1]).infolist()
print(sum(entry.file_size for entry in entries), "bytes")' "$work/extract/archive.zip" \
    >"$work/extract/.amount"
  touch "$work/extract/.done"
fi
if [[ ! -f $work/crc/.done ]]; then
  step "making a ${crc_mb} MiB file from files in /usr/lib"
  python3 bench/archive_data.py bigfile "$work/crc/big.bin" "$crc_mb"
  echo "$((crc_mb * 1024 * 1024)) bytes" >"$work/crc/.amount"
  touch "$work/crc/.done"
fi
if [[ ! -f $work/tree/.done ]]; then
  step "making a tree of ${tree_files} files"
  remove_trees "$work/tree"
  python3 bench/archive_data.py tree "$work/tree/data" "$tree_files"
  echo "$tree_files files" >"$work/tree/.amount"
  touch "$work/tree/.done"
fi
cp "$work/extract/.amount" "$results/extract.amount"
cp "$work/crc/.amount" "$results/crc.amount"
cp "$work/tree/.amount" "$results/size.amount"

# dd with the same 32 KiB requests the checksum code makes: the cost of bringing the cached
# bytes into the process, with nothing done to them.
big=$work/crc/big.bin
step "CRC-32: ours against a plain read of the same (cached) file"
hyperfine --style basic -N --warmup 1 --runs "$runs" --export-json "$results/crc.json" \
  -n ours "$tool crc $big" -n dd "dd if=$big of=/dev/null bs=32k"
peak_rss "$results/crc.ours.rss" "$tool" crc "$big"
peak_rss "$results/crc.ref.rss" dd if="$big" of=/dev/null bs=32k status=none
expected=$(python3 -c 'import sys, zlib
crc = 0
with open(sys.argv[1], "rb") as source:
    while block := source.read(1 << 20):
        crc = zlib.crc32(block, crc)
print(f"{crc:08x}")' "$big")
[[ $("$tool" crc "$big") == "$expected" ]] || { echo "wrong CRC-32" >&2; exit 1; }

# du -sb also counts the folders' own sizes; ours counts files only, so the sums differ by that.
tree=$work/tree/data
step "folder size: ours against du -sb on ${tree_files} files"
hyperfine --style basic -N --warmup 1 --runs "$runs" --export-json "$results/size.json" \
  -n ours "$tool size $tree" -n du "du -sb $tree"
peak_rss "$results/size.ours.rss" "$tool" size "$tree"
peak_rss "$results/size.ref.rss" du -sb "$tree"
expected=$(find "$tree" -type f -printf '%s\n' | awk '{ sum += $1 } END { print sum }')
[[ $("$tool" size "$tree") == "$expected" ]] || { echo "wrong folder size" >&2; exit 1; }

# Extraction goes last, and no run of it deletes anything. This file system (ext4 without a
# journal, common on virtual machines) avoids reusing inodes freed in the last minute, and every
# new file then scans past all of them: timed right after deleting the previous run's output, the
# extraction measured mostly that scan, by chance. So each run's output is moved into graveyard/
# before the next (a rename, then sync), and a recent mass deletion is waited out first.
archive=$work/extract/archive.zip
ours_dir=$work/extract/ours
ref_dir=$work/extract/ref
graveyard=$work/extract/graveyard
bury=(python3 "$root/bench/archive_data.py" bury "$graveyard" "$ours_dir" "$ref_dir")
"${bury[@]}"
wait_s=$(($(cat "$work/.freed" 2>/dev/null || echo 0) + 65 - $(date +%s)))
if ((wait_s > 0)); then
  step "waiting ${wait_s} s: files were deleted less than a minute ago"
  sleep "$wait_s"
fi
step "zip extraction: ours against unzip (into a fresh folder each run)"
hyperfine --style basic --warmup 1 --runs "$runs" --export-json "$results/extract.json" \
  --prepare "${bury[*]}" -n ours "$tool unzip $archive $ours_dir" \
  --prepare "${bury[*]}" -n unzip "unzip -q -o $archive -d $ref_dir"
"${bury[@]}"
peak_rss "$results/extract.ours.rss" "$tool" unzip "$archive" "$ours_dir"
peak_rss "$results/extract.ref.rss" unzip -q -o "$archive" -d "$ref_dir"
diff -r -q "$ours_dir" "$ref_dir" >/dev/null || { echo "extractions differ" >&2; exit 1; }
remove_trees "$graveyard" "$ours_dir" "$ref_dir"

step "results ($runs runs each, $(nproc) cores)"
python3 bench/archive_report.py "$results" | tee "$results/table.md"
