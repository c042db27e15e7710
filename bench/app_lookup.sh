#!/usr/bin/env bash
# Times the application lookup (by bundle identifier and by name) against a plain find walk of
# the same folders and prints one table (docs/performance.md explains the cases and keeps the
# latest figures).
#   bench/app_lookup.sh
# Environment:
#   RF_BENCH_DIR   folder for test data and results (default bench/out); data found there is reused
#   RF_BENCH_RUNS  timed runs per command (default 30, after 3 warm-up runs: a run takes milliseconds)
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work=${RF_BENCH_DIR:-$root/bench/out}
runs=${RF_BENCH_RUNS:-30}
identifier=com.microsoft.Word
name="Microsoft Word.app"
home=/Users/bench   # the home folder app_lookup_data.py makes and rf_app_lookup_bench assumes

step() { printf '\n== %s\n' "$*" >&2; }
# Peak resident memory in KiB of one run, into FILE.
peak_rss() {
  local file=$1
  shift
  /usr/bin/time -f %M -o "$file" "$@" >/dev/null
}
# One word of a hyperfine command line, quoted for its shell-like splitting.
quote() { printf '%q' "$1"; }

step "tools and build"
cd "$root"
scripts/bootstrap --bench
cmake --preset release -DRF_BUILD_BENCH=ON >/dev/null
cmake --build --preset release --target rf_app_lookup_bench -- -j1
tool=$root/build/release/bench/rf_app_lookup_bench

mkdir -p "$work/app_lookup"
work=$(cd "$work/app_lookup" && pwd)
data=$work/data
results=$work/results
rm -rf "$results"
mkdir -p "$results"

# The tree is made once per version of the generator; .done holds the generator's checksum.
stamp=$(sha256sum bench/app_lookup_data.py | cut -d' ' -f1)
if [[ $(cat "$data/.done" 2>/dev/null) != "$stamp" ]]; then
  step "making a system root with 3,000 application bundles"
  rm -rf "$data"
  mkdir -p "$data"
  python3 bench/app_lookup_data.py tree "$data"
  echo "$stamp" >"$data/.done"
fi
sysroot=$data/root
apps=$sysroot/Applications
home_apps=$sysroot$home/Applications
: >"$sysroot$home/Library/Logs/Refloom 2025 Update.log"   # each lookup adds a line

# Answers first: a fast wrong answer is no result.
check() {
  local what=$1 expected=$2
  shift 2
  if ! diff <("$@" | LC_ALL=C sort) <(LC_ALL=C sort "$expected") >"$results/$what.diff"; then
    echo "wrong answer from the lookup by $what (ours <, expected >):" >&2
    cat "$results/$what.diff" >&2
    exit 1
  fi
}
check identifier "$data/expected-identifier.txt" "$tool" "$sysroot" identifier "$identifier"
check name "$data/expected-name.txt" "$tool" "$sysroot" name "$name"

# The lookup by identifier walks /Applications and ~/Applications, so its reference walks both.
step "lookup by bundle identifier: ours against find over the same two folders"
hyperfine --style basic -N --warmup 3 --runs "$runs" --export-json "$results/identifier.json" \
  -n ours "$(quote "$tool") $(quote "$sysroot") identifier $identifier" \
  -n find "find $(quote "$apps") $(quote "$home_apps") -name *.app -prune"
peak_rss "$results/identifier.ours.rss" "$tool" "$sysroot" identifier "$identifier"
peak_rss "$results/identifier.ref.rss" find "$apps" "$home_apps" -name '*.app' -prune

step "lookup by name: ours against find over /Applications"
hyperfine --style basic -N --warmup 3 --runs "$runs" --export-json "$results/name.json" \
  -n ours "$(quote "$tool") $(quote "$sysroot") name $(quote "$name")" \
  -n find "find $(quote "$apps") -name *.app -prune"
peak_rss "$results/name.ours.rss" "$tool" "$sysroot" name "$name"
peak_rss "$results/name.ref.rss" find "$apps" -name '*.app' -prune

step "results ($runs runs each, $(nproc) cores)"
python3 bench/app_lookup_data.py report "$results" | tee "$results/table.md"
